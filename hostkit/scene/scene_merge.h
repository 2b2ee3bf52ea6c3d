// Several scenes as one.
#pragma once

#include "hostkit/scene/scene.h"

namespace hostkit {

/// Moves everything of `other` into `scene`.
void AppendScene(Scene& scene, Scene&& other);

}  // namespace hostkit
