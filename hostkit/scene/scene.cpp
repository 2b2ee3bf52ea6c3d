// Measures of a scene.
#include "hostkit/scene/scene.h"

namespace hostkit {

Imath::Box3f Scene::Bounds() const {
  Imath::Box3f bounds;
  for (const SceneInstance& instance : instances) {
    for (const Imath::V3f& position : meshes[instance.mesh].positions) {
      bounds.extendBy(position * instance.toWorld);
    }
  }
  return bounds;
}

std::size_t Scene::TriangleCount() const {
  std::size_t count = 0;
  for (const SceneInstance& instance : instances) {
    count += meshes[instance.mesh].triangles.size() / 3;
  }
  return count;
}

}  // namespace hostkit
