// Keys of shapes' weights into a scene's motion.
#pragma once

#include <vector>

#include "hostkit/scene/scene_motion.h"

struct aiMeshMorphAnim;

namespace hostkit {

/// The weight of one target at a time.
struct ShapeKey {
  double time = 0;  ///< Seconds.
  unsigned target = 0;
  float weight = 0;
};

/// The keys of a source; unusable ones are left out.
std::vector<ShapeKey> CollectShapeKeys(const aiMeshMorphAnim& source, double ticksPerSecond);

/// The weights of all of a deformation's targets at every time that there is a key for one of
/// them. Those of targets without keys are as in `rest`, which is as long as there are targets.
/// Without times when no key can be used, or when spreading them out would take far more memory
/// than they do.
WeightChannel ImportShapeKeys(const std::vector<ShapeKey>& keys, const std::vector<float>& rest);

}  // namespace hostkit
