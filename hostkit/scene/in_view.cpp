// Whether a camera sees anything of a scene.
#include "hostkit/scene/in_view.h"

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

#include <algorithm>
#include <cmath>

namespace hostkit {
namespace {

using Imath::V3f;

/// Half the picture's width and height at a depth (above 0 in front of the eye).
struct Window {
  float slopeX = 0, slopeY = 0;  // under perspective, a unit of depth
  float halfX = 0, halfY = 0;    // in parallel projection
};

Window WindowOf(const SceneCamera& camera, float aspect) {
  if (camera.parallelHeight > 0) {
    return {0, 0, camera.parallelHeight / 2 * aspect, camera.parallelHeight / 2};
  }
  const float slope = std::tan(std::clamp(camera.verticalFov, 0.001f, 3.1f) / 2);
  return {slope * aspect, slope, 0, 0};
}

/// Whether the placed vertices lie on both sides, or inside, of every side of the picture.
bool IsMeshInView(const SceneMesh& mesh, const Imath::M44f& toView, const Window& window) {
  bool isWithin[5] = {};  // left, right, bottom, top, before the eye
  for (const V3f& position : mesh.positions) {
    const V3f p = position * toView;
    const float x = window.halfX - p.z * window.slopeX, y = window.halfY - p.z * window.slopeY;
    const bool within[5] = {p.x >= -x, p.x <= x, p.y >= -y, p.y <= y, p.z < 0};
    bool isAll = true;
    for (int side = 0; side < 5; ++side) {
      isWithin[side] = isWithin[side] || within[side];
      isAll = isAll && isWithin[side];
    }
    if (isAll) return true;
  }
  return false;
}

}  // namespace

bool IsInView(const Scene& scene, const View& view, float aspect) {
  const Imath::M44f worldToView = WorldToView(view.camera);
  const Window window = WindowOf(view.camera, aspect);
  return std::any_of(
      scene.instances.begin(), scene.instances.end(), [&](const SceneInstance& instance) {
        const SceneMesh& mesh = scene.meshes[static_cast<std::size_t>(instance.mesh)];
        return IsMeshInView(mesh, instance.toWorld * worldToView, window);
      });
}

}  // namespace hostkit
