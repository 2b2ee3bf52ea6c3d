// What a run of `gl3 render` makes, and whether the names of its files have places for that.
#include "apps/options/output_checks.h"

#include <fmt/format.h>

#include <cctype>
#include <filesystem>
#include <map>
#include <vector>

#include "apps/base/text.h"
#include "apps/options/movie_kinds.h"
#include "apps/options/output_pattern.h"
#include "hostkit/pictures/picture_formats.h"

namespace gl3 {
namespace {

/// Several models need a place for each in `output`, given with `option`, or to be one scene.
Outcome CheckModels(const RenderOptions& options, const std::string& output, const char* option) {
  const bool hasName = OutputPattern(output).HasName();
  const std::string name = std::string(option) + ": " + ShellQuote(output);
  if (options.merge && hasName) {
    return {kWrongUsage, name +
                             " has a place for a model's name, and --merge makes one scene of all; "
                             "take it out, or write %% for a percent sign"};
  }
  if (options.merge || options.models.size() < 2 || hasName) return {};
  return {kWrongUsage,
          fmt::format("{} is one file for {} models; put %n (their names) into it, such as "
                      "thumbs/%n.png, or give --merge to draw all in one scene",
                      name, options.models.size())};
}

/// Models whose pictures would be the same files.
Outcome CheckNames(const RenderOptions& options) {
  std::map<std::string, std::string> modelOf;
  for (const std::string& model : options.models) {
    const auto [other, isNew] = modelOf.emplace(NameOfFile(model), model);
    if (isNew) continue;
    return {kWrongUsage, fmt::format("--output: {} and {} would both become {}; draw one of them "
                                     "in a run of its own",
                                     other->second, model,
                                     OptionsOfOne(options, model).PathOf(options.output, 1, "%c"))};
  }
  return {};
}

/// A folder where pictures' names are wanted, and suffixes of what is not written. What has no
/// suffix is told when it is opened.
Outcome CheckKind(const RenderOptions& options) {
  namespace fs = std::filesystem;
  const int frame = options.sequence.Frames().front();
  const std::string path = options.PathOf(options.output, frame, "camera");
  if (hostkit::FindWrittenFormat(path) || FindMovieKind(path)) return {};
  std::error_code error;
  if (path.ends_with('/') || fs::is_directory(path, error)) {
    const std::string inside = std::string(options.merge ? "picture" : "%n") +
                               (options.sequence.IsSequence() ? "_####.png" : ".png");
    return {kWrongUsage,
            fmt::format("--output: {} is a folder; give names for what is in it, such as {}",
                        ShellQuote(options.output),
                        ShellQuote((fs::path(options.output) / inside).string()))};
  }
  if (fs::path(path).extension().empty()) return {};
  return {kWrongUsage,
          fmt::format("--output: {}: the suffix names no kind of picture or movie that is written; "
                      "use one of {}, or {} for a movie",
                      ShellQuote(path), hostkit::WrittenSuffixes(), MovieSuffixes())};
}

/// Whether a name has places for all that the run makes; `option` is what it was given with.
Outcome CheckPattern(const RenderOptions& options, const std::string& output, const char* option) {
  Outcome outcome = CheckModels(options, output, option);
  if (outcome.status != kDone) return outcome;
  return CheckSequence(options.sequence, options.cameras, output, option, options.IsEach());
}

Outcome CheckMovie(const RenderOptions& options) {
  const OutputPattern pattern(options.output);
  const std::string name = "--output: " + ShellQuote(options.output) + " is a movie, ";
  const auto refuse = [&](const std::string& why) -> Outcome { return {kWrongUsage, name + why}; };
  Outcome outcome = CheckModels(options, options.output, "--output");
  if (outcome.status != kDone) return outcome;
  if (pattern.HasFrame()) return refuse("one file for all frames; take the number out of its name");
  if (options.sequence.Frames().size() < 2) {
    return refuse("and there is one frame; give --turntable N or --frames, or a picture's name");
  }
  if (pattern.HasCamera() || options.cameras.size() > 1 || AreAllCameras(options.cameras)) {
    return refuse("which has one camera; name one with --camera, or draw one movie after another");
  }
  if (options.sequence.chunk.count > 1) {
    return refuse("which is made as a whole; leave --chunk out, or draw pictures");
  }
  if (options.IsEach() && options.run.json) {
    return refuse("and --json tells of one movie alone; draw them one after another");
  }
  return {};
}

}  // namespace

const MovieKind* FindMovieKind(const std::string& path) {
  std::string suffix = std::filesystem::path(path).extension().string();
  for (char& c : suffix) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  for (const MovieKind& kind : kMovieKinds) {
    if (suffix == kind.suffix) return &kind;
  }
  return nullptr;
}

std::string MovieSuffixes() {
  std::string all;
  for (const MovieKind& kind : kMovieKinds) {
    all += (all.empty() ? "" : ", ") + std::string(kind.suffix);
  }
  return all;
}

bool RenderOptions::IsEach() const {
  return !merge && OutputPattern(output).HasName();
}

std::string RenderOptions::PathOf(const std::string& pattern, int frame,
                                  const std::string& camera) const {
  const std::string name = models.empty() ? "" : NameOfFile(models.front());
  return OutputPattern(pattern).Expand(frame, camera, name);
}

RenderOptions OptionsOfOne(const RenderOptions& options, const std::string& model) {
  RenderOptions one = options;
  one.models = {model};
  if (options.models.size() > 1) one.recipeInputs.clear();  // they are not about this one
  // Of stills the models are shared out, of sequences the frames of each.
  if (options.sequence.Frames().size() == 1) one.sequence.chunk = {};
  return one;
}

Outcome CheckOutputs(const RenderOptions& options) {
  Outcome outcome = CheckStreamOptions(options.output, options.format,
                                       options.sequence.skipExisting, options.run);
  if (outcome.status == kDone && !options.IsStreamed()) outcome = CheckKind(options);
  if (outcome.status != kDone) return outcome;
  if (options.IsStreamed()) {
    outcome = CheckModels(options, options.output, "--output");
  } else if (FindMovieKind(options.output)) {
    outcome = CheckMovie(options);
  } else {
    outcome = CheckPattern(options, options.output, "--output");
  }
  if (outcome.status == kDone && options.IsEach()) outcome = CheckNames(options);
  if (outcome.status != kDone || options.drawing.depth.empty()) return outcome;
  if (options.drawing.depth == options.output &&
      (options.IsStreamed() || FindMovieKind(options.output))) {
    return {kWrongUsage, "--depth: " + ShellQuote(options.output) +
                             " holds no distances; give a file of its own, such as depth.exr"};
  }
  return CheckPattern(options, options.drawing.depth, "--depth");
}

Outcome CheckGivenOnce(const OptionParser& given, const std::string& option) {
  const std::map<std::string, Option> all = given.Given();
  const auto found = all.find(option);
  if (found == all.end()) return {};
  const std::vector<std::string> values = found->second.GivenValues();
  if (values.size() < 2) return {};
  std::vector<std::string> quoted;
  quoted.reserve(values.size());
  for (const std::string& value : values) quoted.push_back(ShellQuote(value));
  return {kWrongUsage, option + ": is given more than once (" + JoinNames(quoted) + "); give one"};
}

}  // namespace gl3
