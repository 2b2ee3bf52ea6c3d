// The pictures that one run makes, in their order.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/options/render_options.h"
#include "hostkit/scene/scene.h"

namespace gl3 {

/// One picture.
struct Shot {
  int frame = 1;
  double time = 0;         ///< Seconds into the animation.
  int camera = -1;         ///< Index into the scene's cameras, or -1.
  std::string cameraName;  ///< As the model has it; empty for -1.
  std::string output;
  std::string depth;  ///< File for the distances; empty: none. May be `output`.

  /// "frame 7", with the camera when there are several.
  std::string Describe(bool severalCameras) const;
};

/// All pictures of the run's chunk: frame by frame, and for each frame camera by camera.
/// kWrongUsage with a message for cameras that the scene does not have.
Outcome PlanShots(const RenderOptions& options, const hostkit::Scene& scene,
                  std::vector<Shot>* shots);

/// Whether every folder that the pictures go to can be written to, so that a long run does not end
/// at one of them: as CheckOutput. Of pictures that become no files their distances alone count.
Outcome CheckFolders(const RenderOptions& options, const std::vector<Shot>& shots);

/// Whether all files of the shot are there.
bool IsThere(const Shot& shot);

/// The number of pictures of the run when all of them are there, else 0, as far as can be told
/// without the model: where cameras are in the names it is 0.
std::size_t CountWhenAllThere(const RenderOptions& options);

}  // namespace gl3
