// Which vertices are near the mouse.
#include "apps/gl3-view/vertex_picker.h"

#include <algorithm>
#include <cmath>

#include "apps/gl3-view/picture_show.h"

namespace view {

std::vector<PickedVertex> VerticesNear(const hostkit::Scene& scene, const hostkit::View& view,
                                       int width, int height, float x, float y, float radius) {
  const Projection projection(view, width, height);
  std::vector<PickedVertex> near;
  for (std::size_t i = 0; i < scene.instances.size(); ++i) {
    const hostkit::SceneInstance& instance = scene.instances[i];
    const hostkit::SceneMesh& mesh = scene.meshes[static_cast<std::size_t>(instance.mesh)];
    for (std::size_t v = 0; v < mesh.positions.size(); ++v) {
      const Imath::V3f place = mesh.positions[v] * instance.toWorld;
      const ScreenPoint at = projection.Project(place);
      if (!at.inView || std::abs(at.x - x) > radius || std::abs(at.y - y) > radius) continue;
      const float pixels = std::hypot(at.x - x, at.y - y);
      if (pixels > radius) continue;
      near.push_back({place, static_cast<int>(i), static_cast<std::uint32_t>(v), pixels, at.x, at.y,
                      at.depth});
    }
  }
  std::stable_sort(near.begin(), near.end(), [](const PickedVertex& a, const PickedVertex& b) {
    return a.pixels != b.pixels ? a.pixels < b.pixels : a.depth < b.depth;
  });
  near.erase(
      std::unique(near.begin(), near.end(),
                  [](const PickedVertex& a, const PickedVertex& b) { return a.place == b.place; }),
      near.end());
  return near;
}

float DistanceOfDepth(const hostkit::View& view, float depth) {
  const float n = view.nearDistance, f = view.farDistance;
  if (view.camera.parallelHeight > 0) return n + depth * (f - n);
  return n * f / (f - depth * (f - n));
}

}  // namespace view
