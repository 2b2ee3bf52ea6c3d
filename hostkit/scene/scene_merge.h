// Several scenes as one.
#pragma once

#include "hostkit/scene/scene.h"

namespace hostkit {

/// Moves everything of `other` into `scene`, whose origin and axis that is up stay.
void AppendScene(Scene& scene, Scene&& other);

}  // namespace hostkit
