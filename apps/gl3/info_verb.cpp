// `gl3 info`: options, and printing what the work finds.
#include <memory>
#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/gl3/verbs.h"
#include "apps/gl3/work_library.h"
#include "apps/options/info_options.h"

namespace gl3 {
namespace {

int RunInfo(const InfoOptions& options) {
  SetVerbosity(options.run.verbosity);
  Outcome outcome;
  std::string result;
  const WorkTable* work = LoadWork(&outcome);
  if (work) outcome = work->info(options, &result);
  // A report is printed whatever it says; the message behind it is what a user sees last.
  const int printed = result.empty() ? kDone : PrintResult(result);
  if (!outcome.message.empty()) PrintError(outcome.message);
  return outcome.status == kDone ? printed : outcome.status;
}

}  // namespace

VerbJob AddInfoVerb(const OptionParser& parser) {
  const auto options = std::make_shared<InfoOptions>();
  AddInfoOptions(parser, options.get());
  return [options](const std::vector<std::string>&) { return RunInfo(*options); };
}

}  // namespace gl3
