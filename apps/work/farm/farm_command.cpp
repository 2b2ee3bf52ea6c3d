// The command line that a farm shares: what it makes, and doing a part of it.
#include "apps/work/farm/farm_command.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <utility>

#include "apps/base/file_checks.h"
#include "apps/base/supervised_child.h"
#include "apps/base/text.h"
#include "apps/options/movie_kinds.h"
#include "apps/options/output_pattern.h"
#include "apps/work/common/check_output.h"
#include "apps/work/common/stopwatch.h"
#include "apps/work/farm/part_report.h"
#include "apps/work/filter/filter_job.h"
#include "apps/work/filter/filter_report.h"
#include "apps/work/render/movie.h"
#include "apps/work/render/render_each.h"
#include "apps/work/render/render_job.h"
#include "hostkit/pictures/picture_file.h"

namespace gl3 {
namespace {

namespace fs = std::filesystem;

using Pictures = std::vector<FarmPicture>;

Outcome RefuseToShare(const std::string& message) {
  return {kWrongUsage, message};
}

/// The last part of a name, in another folder. Where a camera's name was in the folder, it comes
/// before that part.
std::string PatternIn(const std::string& folder, const std::string& pattern, bool hasCamera) {
  if (pattern.empty()) return "";
  const std::string name = pattern.substr(pattern.rfind('/') + 1);
  const bool lacksCamera = hasCamera && !OutputPattern(name).HasCamera();
  return folder + "/" + (lacksCamera ? "%c_" : "") + name;
}

/// Adds the files of a frame, as a camera sees it.
void AddFiles(const RenderOptions& options, int frame, const std::string& camera,
              FarmPicture* picture) {
  picture->outputs.push_back(options.PathOf(options.output, frame, camera));
  if (options.drawing.depth.empty()) return;
  const std::string distances = options.PathOf(options.drawing.depth, frame, camera);
  if (distances != picture->outputs.back()) picture->distances.push_back(distances);
}

/// Folders of outputs that cannot be written to. Those with a camera's name are not known yet.
Outcome CheckFoldersOf(const Pictures& pictures) {
  std::set<std::string> folders;
  for (const FarmPicture& picture : pictures) {
    std::vector<std::string> files = picture.outputs;
    files.insert(files.end(), picture.distances.begin(), picture.distances.end());
    for (const std::string& output : files) {
      if (!folders.insert(fs::path(output).parent_path().string()).second) continue;
      Outcome outcome = CheckOutput(output);
      if (outcome.status != kDone) return outcome;
    }
  }
  return {};
}

}  // namespace

bool FarmPicture::IsThere() const {
  const auto isThere = [](const std::string& path) { return gl3::IsThere(path); };
  return std::all_of(outputs.begin(), outputs.end(), isThere) &&
         std::all_of(distances.begin(), distances.end(), isThere);
}

std::unique_ptr<FarmCommand> FarmCommand::Read(const std::vector<std::string>& words,
                                               const std::string& folder, Outcome* outcome) {
  std::unique_ptr<FarmCommand> command(new FarmCommand);
  command->m_isFilter = words.front() == "filter";
  command->m_words = words;
  command->m_words.insert(command->m_words.begin(), "gl3");
  *outcome = command->Parse();
  if (outcome->status == kDone && command->IsBySize()) {
    const RecipeKind kind =
        command->m_isFilter ? command->m_filter.recipe : command->m_render.recipe;
    command->m_ofEach = RecipeCommandOfEach(command->m_parser, command->m_words, kind);
  }
  if (outcome->status == kDone && !command->m_isFilter) *outcome = command->UseFrames(folder);
  if (outcome->status == kDone) return command;
  command->m_parser.TellLostValue(command->m_words, outcome);
  return nullptr;
}

Outcome FarmCommand::Parse() {
  if (m_isFilter) {
    AddFilterOptions(m_parser, &m_filter);
  } else {
    AddRenderOptions(m_parser, &m_render);
  }
  std::string error;
  if (!m_parser.Parse({m_words.begin() + 2, m_words.end()}, &error)) {
    const std::string help = "gl3 " + m_words[1] + " --help lists the options";
    return RefuseToShare(error + (error.find("; ") == std::string::npos ? "; " + help : ""));
  }
  if (!m_isFilter) return CheckRender();
  const auto& inputs = m_filter.inputs;
  if (std::find(inputs.begin(), inputs.end(), kStandardStream) != inputs.end() ||
      m_filter.output == kStandardStream) {
    return RefuseToShare("-: standard input and output cannot be shared; name files");
  }
  if (m_filter.verify) return RefuseToShare("--verify: it makes nothing to share; leave it out");
  return NameOutputs(m_filter, &m_outputs);
}

Outcome FarmCommand::CheckRender() const {
  if (!m_render.like.empty()) {
    return RefuseToShare("--like: it cannot be shared; give the options that it stands for");
  }
  if (m_render.sequence.chunk.count > 1) {
    return RefuseToShare("--chunk: the farm makes the parts; leave it out");
  }
  const auto& models = m_render.models;
  const bool isStreamed = std::find(models.begin(), models.end(), kStandardStream) != models.end();
  if (isStreamed || m_render.IsStreamed()) {
    return RefuseToShare("-: standard input and output cannot be shared; name files");
  }
  Outcome outcome = CheckRenderOptions(m_render);
  if (outcome.status != kDone || !m_render.IsEach()) return outcome;
  if (NeedsCameras()) {
    return RefuseToShare(
        "--camera: the names of the cameras of several models cannot be known; share "
        "them model by model, or take {camera} out of -o");
  }
  if (!FindMovieKind(m_render.output)) return {};
  return RefuseToShare(
      "--output: movies of several models cannot be shared; share them one by one");
}

/// Frames of a movie become pictures first.
Outcome FarmCommand::UseFrames(const std::string& folder) {
  if (!FindMovieKind(m_render.output)) return {};
  m_movie = m_render;
  std::string pattern;
  for (const char c : folder) pattern += c == '%' ? "%%" : std::string(1, c);
  m_render.output = pattern + "/frames/%07d.png";
  if (folder.find("##") == std::string::npos) return {};
  return RefuseToShare(ShellQuote(folder) +
                       ": has a place for frame numbers; give --folder without ##");
}

bool FarmCommand::NeedsCameras() const {
  return !m_isFilter && OutputPattern(m_render.output).HasCamera();
}

std::string FarmCommand::Recipe(const FarmPicture& picture) const {
  if (IsBySize()) return m_ofEach.Of(picture.input);
  return RecipeCommand(m_parser, m_words, m_render.recipe);
}

std::string FarmCommand::Folder() const {
  if (m_isFilter) return fs::path(m_outputs.front()).parent_path().string();
  return OutputPattern(IsMovie() ? m_movie.output : m_render.output).Folder();
}

Outcome FarmCommand::Check() const {
  for (const std::string& input : m_isFilter ? m_filter.inputs : m_render.models) {
    Outcome outcome = CheckInput(input);
    if (outcome.status == kDone) continue;
    m_parser.TellLostValue(m_words, &outcome);
    return outcome;
  }
  if (!IsMovie()) return NeedsCameras() ? Outcome() : CheckFoldersOf(Pictures({}));
  Outcome program = CheckMovieProgram(m_movie.output);
  if (program.status != kDone) return program;
  // The folder of its frames is made with that of the farm.
  hostkit::PictureFile movie;
  std::string reason;
  if (movie.Open(m_movie.output, &reason)) return {};
  return {kUnwritableOutput, m_movie.output + ": cannot be written: " + reason};
}

std::vector<FarmPicture> FarmCommand::Pictures(const std::vector<std::string>& cameras) const {
  std::vector<FarmPicture> pictures;
  for (std::size_t i = 0; i < m_outputs.size(); ++i) {
    pictures.push_back({0, m_filter.inputs[i], {m_outputs[i]}, {}});
  }
  if (m_isFilter) return pictures;
  if (m_render.IsEach()) {
    for (const std::string& model : m_render.models) {
      FarmPicture picture = {0, model, {}, {}};
      const RenderOptions one = OptionsOfOne(m_render, model);
      for (const int frame : one.sequence.Frames()) AddFiles(one, frame, "", &picture);
      pictures.push_back(std::move(picture));
    }
    return pictures;
  }
  const std::vector<std::string> names = NeedsCameras() ? cameras : std::vector<std::string>{""};
  for (const int frame : m_render.sequence.Frames()) {
    FarmPicture picture;
    picture.frame = m_render.sequence.IsSequence() ? frame : 0;
    for (const std::string& name : names) AddFiles(m_render, frame, name, &picture);
    pictures.push_back(std::move(picture));
  }
  return pictures;
}

PartReport FarmCommand::Make(const std::vector<FarmPicture>& pictures,
                             const std::string& folder) const {
  const Stopwatch watch;
  PartReport report = m_isFilter ? Filter(pictures, folder) : Render(pictures, folder);
  report.seconds = watch.Milliseconds() / 1000;
  return report;
}

PartReport FarmCommand::RenderModels(const std::vector<FarmPicture>& pictures) const {
  RenderOptions options = m_render;
  options.sequence.skipExisting = true;
  options.models.clear();
  for (const FarmPicture& picture : pictures) options.models.push_back(picture.input);
  EachReport drawn;
  std::size_t skipped = 0;
  const int status = RenderEachInto({options, m_ofEach}, &drawn, &skipped);
  PartReport report = ReadEachReport(drawn.Format(options.output, skipped, 0));
  report.status = status;
  return report;
}

PartReport FarmCommand::Render(const std::vector<FarmPicture>& pictures,
                               const std::string& folder) const {
  const FarmPicture& first = pictures.front();
  if (m_render.IsEach() && folder.empty()) return RenderModels(pictures);
  RenderOptions options = m_render.IsEach() ? OptionsOfOne(m_render, first.input) : m_render;
  options.run.json = true;
  options.sequence.skipExisting = true;  // and the report has every picture
  if (m_render.sequence.IsSequence() && !m_render.IsEach()) {
    options.sequence.frames.clear();
    for (const FarmPicture& picture : pictures) options.sequence.frames.push_back(picture.frame);
  }
  if (!folder.empty()) {
    options.output = PatternIn(folder, m_render.output, NeedsCameras());
    options.drawing.depth = PatternIn(folder, m_render.drawing.depth, NeedsCameras());
  }
  const std::string recipe = Recipe(first);
  ChildTold told;
  const int status = RunSupervised(
      options.run.limits, options.output,
      [&](ParentLine& line, std::string* result) {
        return gl3::Render(options, recipe, line, result);
      },
      &told);
  PartReport report = ReadRenderReport(told.result, options.output);
  report.status = status;
  report.error = told.error;
  return report;
}

int FarmCommand::MakeMovie(const std::vector<FarmPicture>& pictures) const {
  std::vector<std::string> frames;
  frames.reserve(pictures.size());
  for (const FarmPicture& picture : pictures) frames.push_back(picture.outputs.front());
  return MovieOfPictures(m_movie, Recipe(pictures.front()), frames);
}

PartReport FarmCommand::Filter(const std::vector<FarmPicture>& pictures,
                               const std::string& folder) const {
  FilterOptions options = m_filter;
  options.inputs.clear();
  options.skipExisting = folder.empty();
  std::vector<std::string> outputs;
  for (const FarmPicture& picture : pictures) {
    options.inputs.push_back(picture.input);
    const std::string& output = picture.outputs.front();
    outputs.push_back(folder.empty() ? output
                                     : folder + "/" + fs::path(output).filename().string());
  }
  FilterReport filtered;
  std::size_t skipped = 0;
  const int status = FilterInto({options, outputs, m_ofEach}, &filtered, &skipped);
  PartReport report = ReadFilterReport(filtered.Format(skipped, 0));
  report.status = status;
  return report;
}

}  // namespace gl3
