// `gl3 render`: options, checks that need no work, then the work in a supervised child.
#include <memory>
#include <string>
#include <vector>

#include "apps/base/file_checks.h"
#include "apps/base/messages.h"
#include "apps/base/supervised_child.h"
#include "apps/gl3/repeat_recipe.h"
#include "apps/gl3/verbs.h"
#include "apps/gl3/work_library.h"
#include "apps/options/output_pattern.h"
#include "apps/options/render_options.h"

namespace gl3 {
namespace {

/// A picture of the run, to see whether its folder can be written to; the names of the model's
/// cameras are not known yet.
std::string FirstOutput(const std::string& output, const RenderOptions& options) {
  const std::string camera = options.cameras.empty() ? "" : FileNames(options.cameras).front();
  return OutputPattern(output).Expand(options.sequence.Frames().front(), camera);
}

/// Whether the path has a camera's name in a folder, which may not be there for the first name.
bool HasCameraFolder(const std::string& output) {
  return OutputPattern(output.substr(0, output.rfind('/') + 1)).HasCamera();
}

Outcome CheckModel(const std::string& model, const RenderOptions& options) {
  Outcome outcome = CheckInput(model);
  if (outcome.status == kDone || options.like.empty()) return outcome;
  outcome.message += ", or name models to draw like " + options.like;
  return outcome;
}

Outcome CheckFolder(const std::string& output, const RenderOptions& options,
                    const WorkTable& work) {
  if (output.empty()) return {};
  Outcome outcome = work.checkOutput(FirstOutput(output, options));
  const bool isUncertain = outcome.status == kUnwritableOutput && HasCameraFolder(output);
  return isUncertain ? Outcome() : outcome;
}

Outcome CheckBeforeWork(const RenderOptions& options, const WorkTable& work) {
  Outcome outcome = CheckRenderOptions(options);
  if (outcome.status == kDone) outcome = CheckFolder(options.output, options, work);
  if (outcome.status == kDone) outcome = CheckFolder(options.drawing.depth, options, work);
  for (const std::string& model : options.models) {
    if (outcome.status == kDone) outcome = CheckModel(model, options);
  }
  return outcome;
}

int Fail(const Outcome& outcome) {
  PrintError(outcome.message);
  return outcome.status;
}

/// Reads the recipe that --like names, in a child since the file is foreign, and makes `*options`
/// and `*words`, the command line, of it.
int TakeRecipe(const OptionParser& given, const WorkTable& work, RenderOptions* options,
               std::vector<std::string>* words) {
  ChildTold told;
  const int status = RunSupervised(
      options->run.limits, "",
      [&](ParentLine& line, std::string* result) {
        return work.storedRecipe(options->like, options->run.confined, line, result);
      },
      &told);
  if (status != kDone) return status;
  Outcome outcome = RepeatRecipe(given, told.result, work.hashFile, options, words);
  return outcome.status == kDone ? kDone : Fail(outcome);
}

int RunRender(const OptionParser& given, RenderOptions options, std::vector<std::string> words) {
  SetVerbosity(options.run.verbosity);
  Outcome outcome;
  const WorkTable* work = LoadWork(&outcome);
  if (!work) return Fail(outcome);
  if (!options.like.empty()) {
    const int status = TakeRecipe(given, *work, &options, &words);
    if (status != kDone) return status;
  }
  outcome = CheckBeforeWork(options, *work);
  if (outcome.status != kDone) return Fail(outcome);
  const std::string command = RecipeCommand(given, words, options.recipe);
  return RunSupervised(options.run.limits, options.output,
                       [&](ParentLine& line, std::string* result) {
                         return work->render(options, command, line, result);
                       });
}

}  // namespace

VerbJob AddRenderVerb(const OptionParser& parser) {
  const auto options = std::make_shared<RenderOptions>();
  AddRenderOptions(parser, options.get());
  return [options, parser](const std::vector<std::string>& words) {
    return RunRender(parser, *options, words);
  };
}

}  // namespace gl3
