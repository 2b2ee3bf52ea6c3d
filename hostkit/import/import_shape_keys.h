// Keys of shapes' weights into a scene's motion.
#pragma once

#include <vector>

#include "hostkit/scene/scene_motion.h"

struct aiMeshMorphAnim;

namespace hostkit {

/// The weights of all of a deformation's targets at every time that the source has a key for one
/// of them. Those of targets without keys are as in `rest`, which is as long as there are targets.
/// Without times when no key can be used, or when spreading them out would take far more memory
/// than they do.
WeightChannel ImportShapeKeys(const aiMeshMorphAnim& source, double ticksPerSecond,
                              const std::vector<float>& rest);

}  // namespace hostkit
