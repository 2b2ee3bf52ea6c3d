// `gl3 filter`: options, checks that need no work, then the work in a supervised child.
#include <memory>
#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/gl3/standard_streams.h"
#include "apps/gl3/verbs.h"
#include "apps/gl3/work_library.h"
#include "apps/options/filter_options.h"
#include "apps/options/output_checks.h"

namespace gl3 {
namespace {

int RunFilter(const OptionParser& given, const FilterOptions& options, const std::string& command) {
  SetVerbosity(options.run.verbosity);
  std::vector<std::string> outputs;
  Outcome outcome = CheckGivenOnce(given, "--output");
  if (outcome.status == kDone) outcome = CheckFilterOptions(options);
  if (outcome.status == kDone) outcome = NameOutputs(options, &outputs);
  const WorkTable* work = outcome.status == kDone ? LoadWork(&outcome) : nullptr;
  for (const std::string& output : outputs) {
    if (outcome.status == kDone) outcome = work->checkOutput(output);
  }
  if (outcome.status == kDone) outcome = SendResultTo(options.run.jsonFile, *work);
  if (outcome.status != kDone) {
    PrintError(outcome.message);
    return outcome.status;
  }
  return work->filter({options, outputs, command});
}

}  // namespace

VerbJob AddFilterVerb(const OptionParser& parser) {
  const auto options = std::make_shared<FilterOptions>();
  AddFilterOptions(parser, options.get());
  return [options, parser](const std::vector<std::string>& words) {
    return RunFilter(parser, *options, RecipeCommand(parser, words, options->recipe));
  };
}

}  // namespace gl3
