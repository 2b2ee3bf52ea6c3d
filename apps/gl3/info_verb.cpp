// `gl3 info`: options, and printing what the work finds.
#include <memory>
#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/gl3/standard_streams.h"
#include "apps/gl3/verbs.h"
#include "apps/gl3/work_library.h"
#include "apps/options/info_options.h"

namespace gl3 {
namespace {

int RunInfo(const OptionParser& given, InfoOptions options, const std::vector<std::string>& words) {
  SetVerbosity(options.run.verbosity);
  Outcome outcome;
  std::string result;
  StandardInput input;
  const WorkTable* work = LoadWork(&outcome);
  if (work) outcome = SendResultTo(options.run.jsonFile, *work);
  if (outcome.status == kDone) outcome = input.PlaceModel(options.modelFormat, &options.models);
  if (outcome.status == kDone) outcome = input.Read();
  given.TellLostValue(words, &outcome);
  if (outcome.status == kDone) outcome = work->info(options, &result);
  // A report is printed whatever it says; the message behind it is what a user sees last.
  const int printed = result.empty() ? kDone : PrintResult(result);
  if (!outcome.message.empty()) PrintError(outcome.message);
  return outcome.status == kDone ? printed : outcome.status;
}

}  // namespace

VerbJob AddInfoVerb(const OptionParser& parser) {
  const auto options = std::make_shared<InfoOptions>();
  AddInfoOptions(parser, options.get());
  return [options, parser](const std::vector<std::string>& words) {
    return RunInfo(parser, *options, words);
  };
}

}  // namespace gl3
