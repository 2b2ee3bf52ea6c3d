// The pictures that one run makes, in their order.
#include "apps/work/render/render_sequence.h"

#include <fmt/format.h>

#include <filesystem>
#include <set>
#include <utility>

#include "apps/base/file_checks.h"
#include "apps/base/text.h"
#include "apps/options/output_pattern.h"
#include "apps/work/common/check_output.h"
#include "apps/work/render/render_camera.h"

namespace gl3 {

std::string Shot::Describe(bool severalCameras) const {
  return severalCameras ? fmt::format("frame {}, camera {}", frame, ShellQuote(cameraName))
                        : fmt::format("frame {}", frame);
}

Outcome PlanShots(const RenderOptions& options, const hostkit::Scene& scene,
                  std::vector<Shot>* shots) {
  std::vector<int> cameras;
  Outcome outcome = FindCameras(options, scene, &cameras);
  if (outcome.status != kDone) return outcome;
  // Of all cameras, so that a camera's files have the same name whichever others are asked for.
  std::vector<std::string> names;
  for (const hostkit::SceneCamera& camera : scene.cameras) names.push_back(camera.name);
  const std::vector<std::string> files = FileNames(names);

  std::size_t index = 0;
  for (const int frame : options.sequence.Frames()) {
    for (const int camera : cameras) {
      if (!IsInChunk(options.sequence.chunk, index++)) continue;
      Shot shot{frame, options.sequence.TimeOf(frame), camera, "", "", ""};
      const auto at = static_cast<std::size_t>(camera);
      if (camera >= 0) shot.cameraName = names[at];
      const std::string file = camera >= 0 ? files[at] : "";
      shot.output = options.PathOf(options.output, frame, file);
      shot.depth = options.PathOf(options.drawing.depth, frame, file);
      shots->push_back(std::move(shot));
    }
  }
  return {};
}

Outcome CheckFolders(const RenderOptions& options, const std::vector<Shot>& shots) {
  const bool isStreamed = options.stream.IsOpen();
  std::set<std::string> folders;
  for (const Shot& shot : shots) {
    for (const std::string& path : {isStreamed ? std::string() : shot.output, shot.depth}) {
      const std::string folder = std::filesystem::path(path).parent_path().string();
      if (path.empty() || !folders.insert(folder).second) continue;
      Outcome outcome = CheckOutput(path);
      if (outcome.status != kDone) return outcome;
    }
  }
  return {};
}

bool IsThere(const Shot& shot) {
  return IsThere(shot.output) && (shot.depth.empty() || IsThere(shot.depth));
}

std::size_t CountWhenAllThere(const RenderOptions& options) {
  if (OutputPattern(options.output).HasCamera()) return 0;
  const std::vector<int> frames = options.sequence.Frames();
  std::size_t count = 0;
  for (std::size_t i = 0; i < frames.size(); ++i) {
    if (!IsInChunk(options.sequence.chunk, i)) continue;
    Shot shot;
    shot.output = options.PathOf(options.output, frames[i], "");
    shot.depth = options.PathOf(options.drawing.depth, frames[i], "");
    if (!IsThere(shot)) return 0;
    ++count;
  }
  return count;
}

}  // namespace gl3
