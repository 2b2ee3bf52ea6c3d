// Whether a camera sees anything of a scene.
#pragma once

#include "hostkit/scene/camera.h"
#include "hostkit/scene/scene.h"

namespace hostkit {

/// False when each thing that is placed lies wholly beyond one side of the picture, or behind the
/// eye. `aspect` is width by height. What is hidden or as clear as glass counts as in view. Looks
/// at every vertex until one thing is found: some milliseconds a million.
bool IsInView(const Scene& scene, const View& view, float aspect);

}  // namespace hostkit
