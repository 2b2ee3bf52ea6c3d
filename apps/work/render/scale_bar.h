// A bar that shows how long a length of the model is in a picture.
#pragma once

#include <string>
#include <vector>

#include "hostkit/feed/frame_settings.h"
#include "hostkit/scene/camera.h"

namespace gl3 {

/// A length that is 1, 2 or 5 times a power of ten, and how many pixels it takes.
struct ScaleBar {
  double length = 0;  ///< World units; 0: there is none that could be shown.
  int pixels = 0;
};

/// The longest one that takes at most a quarter of the picture's width, `distance` in front of the
/// camera, in world units.
ScaleBar ScaleBarFor(const hostkit::SceneCamera& camera, float distance, int width, int height);

/// The bar as pictures to lay over the frame: at its bottom left, with the length and `unit` above
/// it, in what stands out from the background. The bar is four pixels high, its lower left corner
/// 16 pixels from the frame's sides. Empty where it cannot be shown.
std::vector<hostkit::OverlayPicture> DrawScaleBar(const ScaleBar& bar, const std::string& unit,
                                                  const hostkit::FrameSettings& settings);

}  // namespace gl3
