// `gl3 render`: options, checks that need no work, then the work in a supervised child.
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "apps/base/file_checks.h"
#include "apps/base/messages.h"
#include "apps/base/supervised_child.h"
#include "apps/base/text.h"
#include "apps/gl3/repeat_recipe.h"
#include "apps/gl3/standard_streams.h"
#include "apps/gl3/verbs.h"
#include "apps/gl3/work_library.h"
#include "apps/options/movie_kinds.h"
#include "apps/options/output_checks.h"
#include "apps/options/output_pattern.h"
#include "apps/options/render_options.h"
#include "apps/options/standard_stream.h"

namespace gl3 {
namespace {

/// A picture of the run, to see whether its folder can be written to; the names of the model's
/// cameras are not known yet.
std::string FirstOutput(const std::string& output, const RenderOptions& options) {
  const std::string camera = options.cameras.empty() ? "" : FileNames(options.cameras).front();
  return options.PathOf(output, options.sequence.Frames().front(), camera);
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
  if (output.empty() || output == kStandardStream || FindMovieKind(output)) return {};
  Outcome outcome = work.checkOutput(FirstOutput(output, options));
  const bool isUncertain = outcome.status == kUnwritableOutput && HasCameraFolder(output);
  return isUncertain ? Outcome() : outcome;
}

Outcome CheckFolders(const RenderOptions& options, const WorkTable& work) {
  Outcome outcome = CheckFolder(options.output, options, work);
  if (outcome.status == kDone) outcome = CheckFolder(options.drawing.depth, options, work);
  return outcome;
}

/// Before the first of many models is drawn, all of their pictures' folders are there.
Outcome CheckFoldersOfEach(const RenderOptions& options, const WorkTable& work) {
  Outcome outcome;
  std::set<std::string> folders;
  RenderOptions one = OptionsOfOne(options, "");
  for (const std::string& model : options.models) {
    if (outcome.status != kDone) return outcome;
    one.models.front() = model;
    const std::string output = FirstOutput(options.output, one);
    if (folders.insert(output.substr(0, output.rfind('/') + 1)).second) {
      outcome = CheckFolders(one, work);
    }
  }
  return outcome;
}

Outcome CheckModels(const RenderOptions& options) {
  Outcome outcome;
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
        return work.storedRecipe(options->like, options->run, line, result);
      },
      &told);
  if (status != kDone) return status;
  Outcome outcome = RepeatRecipe(given, told.result, work.hashFile, options, words);
  return outcome.status == kDone ? kDone : Fail(outcome);
}

int RunEach(const OptionParser& given, const RenderOptions& options,
            const std::vector<std::string>& words, const WorkTable& work) {
  const CommandOfEach command = RecipeCommandOfEach(given, words, options.recipe);
  return work.renderEach({options, command});
}

/// Movies, one after another.
int RunMovies(const OptionParser& given, const RenderOptions& options,
              const std::vector<std::string>& words, const WorkTable& work) {
  if (!options.IsEach()) {
    return work.renderMovie(options, RecipeCommand(given, words, options.recipe));
  }
  const CommandOfEach command = RecipeCommandOfEach(given, words, options.recipe);
  int status = kDone;
  for (const std::string& model : options.models) {
    const int ended = work.renderMovie(OptionsOfOne(options, model), command.Of(model));
    if (status == kDone) status = ended;
  }
  return status;
}

/// All that can be found out without work; reads the model from standard input, if there is one.
Outcome PrepareRender(const WorkTable& work, RenderOptions* options, StandardInput* input) {
  Outcome outcome = CheckRenderOptions(*options);
  if (outcome.status == kDone) outcome = SendResultTo(options->run.jsonFile, work);
  if (outcome.status == kDone && !options->IsEach()) outcome = CheckFolders(*options, work);
  if (outcome.status == kDone && options->IsEach()) outcome = CheckFoldersOfEach(*options, work);
  if (outcome.status == kDone) outcome = input->PlaceModel(options->modelFormat, &options->models);
  if (outcome.status == kDone) outcome = input->Read();
  // Of many models those that cannot be read are told when it is their turn.
  if (outcome.status == kDone && !options->IsEach()) outcome = CheckModels(*options);
  if (outcome.status == kDone && options->IsStreamed()) {
    outcome = StartStream(options->format, work, &options->stream);
  }
  return outcome;
}

int RunRender(const OptionParser& given, RenderOptions options, std::vector<std::string> words) {
  SetVerbosity(options.run.verbosity);
  Outcome outcome = CheckGivenOnce(given, "--output");
  const WorkTable* work = outcome.status == kDone ? LoadWork(&outcome) : nullptr;
  if (!work) return Fail(outcome);
  if (!options.like.empty()) {
    const int status = TakeRecipe(given, *work, &options, &words);
    if (status != kDone) return status;
  }
  StandardInput input;
  outcome = PrepareRender(*work, &options, &input);
  given.TellLostValue(words, &outcome);
  if (outcome.status != kDone) return Fail(outcome);
  if (!options.recipeFiles.empty()) {
    PrintStatus(options.like +
                ": its recipe has these files read: " + JoinNames(options.recipeFiles));
  }
  if (FindMovieKind(options.output)) return RunMovies(given, options, words, *work);
  if (options.IsEach()) return RunEach(given, options, words, *work);
  const std::string command = RecipeCommand(given, words, options.recipe);
  const std::string file = options.stream.IsOpen() ? "" : options.output;
  return RunSupervised(options.run.limits, file, [&](ParentLine& line, std::string* result) {
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
