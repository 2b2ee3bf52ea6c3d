// Measures of a scene.
#include "hostkit/scene/scene.h"

namespace hostkit {

Imath::Box3f Scene::Bounds() const {
  Imath::Box3f bounds;
  for (const SceneInstance& instance : instances) {
    // By rows: placing takes no division, unlike the product of a point and a matrix.
    const Imath::M44f& m = instance.toWorld;
    const Imath::V3f x(m[0][0], m[0][1], m[0][2]), y(m[1][0], m[1][1], m[1][2]),
        z(m[2][0], m[2][1], m[2][2]), origin(m[3][0], m[3][1], m[3][2]);
    for (const Imath::V3f& p : meshes[instance.mesh].positions) {
      bounds.extendBy(x * p.x + y * p.y + z * p.z + origin);
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
