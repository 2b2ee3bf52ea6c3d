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
#include "apps/options/standard_stream.h"

namespace gl3 {
namespace {

/// All that can be found out without work; reads the picture from standard input, if there is one.
Outcome PrepareFilter(const WorkTable& work, StandardInput* input, FilterOptions* options,
                      std::vector<std::string>* outputs) {
  Outcome outcome = CheckFilterOptions(*options);
  if (outcome.status == kDone) outcome = input->PlacePicture(&options->inputs);
  if (outcome.status == kDone) outcome = NameOutputs(*options, outputs);
  const bool isStreamed = options->output == kStandardStream;
  for (const std::string& output : *outputs) {
    if (outcome.status == kDone && !isStreamed) outcome = work.checkOutput(output);
  }
  if (outcome.status == kDone) outcome = SendResultTo(options->run.jsonFile, work);
  if (outcome.status == kDone) outcome = input->Read();
  if (outcome.status == kDone && isStreamed) {
    outcome = StartStream(options->format, work, &options->stream);
  }
  return outcome;
}

int RunFilter(const OptionParser& given, FilterOptions options,
              const std::vector<std::string>& words) {
  SetVerbosity(options.run.verbosity);
  StandardInput input;
  std::vector<std::string> outputs;
  Outcome outcome = CheckGivenOnce(given, "--output");
  const WorkTable* work = outcome.status == kDone ? LoadWork(&outcome) : nullptr;
  if (work) outcome = PrepareFilter(*work, &input, &options, &outputs);
  if (work) given.TellLostValue(words, &outcome);
  const CommandOfEach command = RecipeCommandOfEach(given, words, options.recipe);
  if (outcome.status == kDone) return work->filter({options, outputs, command});
  PrintError(outcome.message);
  return outcome.status;
}

}  // namespace

VerbJob AddFilterVerb(const OptionParser& parser) {
  const auto options = std::make_shared<FilterOptions>();
  AddFilterOptions(parser, options.get());
  return [options, parser](const std::vector<std::string>& words) {
    return RunFilter(parser, *options, words);
  };
}

}  // namespace gl3
