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
#include "apps/work/render/render_job.h"

namespace gl3 {
namespace {

namespace fs = std::filesystem;

using Pictures = std::vector<FarmPicture>;

Outcome Refuse(const std::string& message) {
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
                                               Outcome* outcome) {
  std::unique_ptr<FarmCommand> command(new FarmCommand);
  command->m_isFilter = words.front() == "filter";
  command->m_words = words;
  command->m_words.insert(command->m_words.begin(), "gl3");
  *outcome = command->Parse();
  return outcome->status == kDone ? std::move(command) : nullptr;
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
    return Refuse(error + (error.find("; ") == std::string::npos ? "; " + help : ""));
  }
  if (!m_isFilter) return CheckRender();
  if (m_filter.verify) return Refuse("--verify: it makes nothing to share; leave it out");
  return NameOutputs(m_filter, &m_outputs);
}

Outcome FarmCommand::CheckRender() const {
  if (!m_render.like.empty()) {
    return Refuse("--like: it cannot be shared; give the options that it stands for");
  }
  if (m_render.sequence.chunk.count > 1) {
    return Refuse("--chunk: the farm makes the parts; leave it out");
  }
  if (m_render.IsEach()) {
    return Refuse("%n: models are not shared out; give one model, or --merge");
  }
  if (m_render.IsStreamed() || FindMovieKind(m_render.output)) {
    return Refuse("--output: " + m_render.output + ": pictures alone are shared; name a picture");
  }
  return CheckRenderOptions(m_render);
}

bool FarmCommand::NeedsCameras() const {
  return !m_isFilter && OutputPattern(m_render.output).HasCamera();
}

std::string FarmCommand::Recipe() const {
  return RecipeCommand(m_parser, m_words, m_isFilter ? m_filter.recipe : m_render.recipe);
}

Outcome FarmCommand::Check() const {
  for (const std::string& input : m_isFilter ? m_filter.inputs : m_render.models) {
    Outcome outcome = CheckInput(input);
    if (outcome.status != kDone) return outcome;
  }
  return NeedsCameras() ? Outcome() : CheckFoldersOf(Pictures({}));
}

std::vector<FarmPicture> FarmCommand::Pictures(const std::vector<std::string>& cameras) const {
  std::vector<FarmPicture> pictures;
  for (std::size_t i = 0; i < m_outputs.size(); ++i) {
    pictures.push_back({0, m_filter.inputs[i], {m_outputs[i]}, {}});
  }
  if (m_isFilter) return pictures;
  const OutputPattern pattern(m_render.output), depth(m_render.drawing.depth);
  const bool hasDepth = !m_render.drawing.depth.empty();
  const std::vector<std::string> names = NeedsCameras() ? cameras : std::vector<std::string>{""};
  for (const int frame : m_render.sequence.Frames()) {
    FarmPicture picture;
    picture.frame = m_render.sequence.IsSequence() ? frame : 0;
    for (const std::string& name : names) {
      picture.outputs.push_back(pattern.Expand(frame, name));
      const std::string distances = hasDepth ? depth.Expand(frame, name) : "";
      if (hasDepth && distances != picture.outputs.back()) picture.distances.push_back(distances);
    }
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

PartReport FarmCommand::Render(const std::vector<FarmPicture>& pictures,
                               const std::string& folder) const {
  RenderOptions options = m_render;
  options.run.json = true;
  options.sequence.skipExisting = true;  // and the report has every picture
  options.sequence.frames.clear();
  for (const FarmPicture& picture : pictures) {
    if (m_render.sequence.IsSequence()) options.sequence.frames.push_back(picture.frame);
  }
  if (!folder.empty()) {
    options.output = PatternIn(folder, m_render.output, NeedsCameras());
    options.drawing.depth = PatternIn(folder, m_render.drawing.depth, NeedsCameras());
  }
  const std::string recipe = Recipe();
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
  const int status = FilterInto({options, outputs, Recipe()}, &filtered, &skipped);
  PartReport report = ReadFilterReport(filtered.Format(skipped, 0));
  report.status = status;
  return report;
}

}  // namespace gl3
