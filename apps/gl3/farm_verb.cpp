// `gl3 farm`: options; the work is a library's.
#include <memory>
#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/gl3/verbs.h"
#include "apps/gl3/work_library.h"
#include "apps/options/farm_options.h"

namespace gl3 {
namespace {

int RunFarm(const FarmOptions& options) {
  SetVerbosity(options.verbosity);
  Outcome outcome;
  const WorkTable* work = LoadWork(&outcome);
  if (work) return work->farm(options);
  PrintError(outcome.message);
  return outcome.status;
}

}  // namespace

VerbJob AddFarmVerb(const OptionParser& parser) {
  const auto options = std::make_shared<FarmOptions>();
  AddFarmOptions(parser, options.get());
  return [options](const std::vector<std::string>&) { return RunFarm(*options); };
}

}  // namespace gl3
