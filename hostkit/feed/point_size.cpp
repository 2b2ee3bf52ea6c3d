// How large points are drawn that were not given a size.
#include "hostkit/feed/point_size.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace hostkit {
namespace {

using Imath::V3d;
using Imath::V3f;

// Of the mean spacing, so that most gaps of an uneven spread close.
constexpr double kFill = 1.4;
constexpr float kLeastLimit = 3, kMostLimit = 64;  // pixels
constexpr float kShareOfHeight = 0.01f;
constexpr double kMarkerShare = 1.0 / 6;  // of the spacing, for half a side
constexpr double kLeastMarker = 0.5, kMostMarker = 3;
// Nearer to the middle than this share of their extent, points do not grow any more.
constexpr double kNearest = 0.1;

/// As if the points lay evenly on a surface within the bounds, or on a line.
PointSpread SpreadOf(const Imath::Box3f& bounds, std::size_t count) {
  PointSpread spread;
  if (bounds.isEmpty() || count == 0) return spread;
  const V3d size = V3d(bounds.max) - V3d(bounds.min);
  const auto number = static_cast<double>(count);
  const double area = size.x * size.y + size.y * size.z + size.z * size.x;
  const double longest = std::max({size.x, size.y, size.z});
  spread.middle = bounds.center();
  spread.spacing = static_cast<float>(std::max(std::sqrt(area / number), longest / number));
  spread.extent = static_cast<float>(size.length());
  return spread;
}

/// How far apart neighbours are in a picture of that height, seen from the side.
double SpacingInPixels(const PointSpread& spread, const View& view, int height) {
  const SceneCamera& camera = view.camera;
  double seen = camera.parallelHeight;  // world units that the picture is high
  if (!(seen > 0)) {
    const double away = (V3d(spread.middle) - V3d(camera.eye)).length();
    seen = 2 * std::max(away, kNearest * spread.extent) * std::tan(camera.verticalFov / 2);
  }
  return static_cast<double>(spread.spacing) * height / seen;
}

}  // namespace

PointSpread SpreadOfPoints(const Scene& scene) {
  Imath::Box3f bounds;
  std::size_t count = 0;
  for (const SceneInstance& instance : scene.instances) {
    const SceneMesh& mesh = scene.meshes[static_cast<std::size_t>(instance.mesh)];
    for (const std::uint32_t point : mesh.points) {
      bounds.extendBy(mesh.positions[point] * instance.toWorld);
    }
    count += mesh.points.size();
  }
  return SpreadOf(bounds, count);
}

PointSpread SpreadOfVertices(const Scene& scene, const Imath::Box3f& bounds) {
  std::size_t count = 0;
  for (const SceneInstance& instance : scene.instances) {
    count += scene.meshes[static_cast<std::size_t>(instance.mesh)].positions.size();
  }
  return SpreadOf(bounds, count);
}

float PointSizeFor(const PointSpread& spread, const View& view, int height) {
  const float most =
      std::clamp(kShareOfHeight * static_cast<float>(height), kLeastLimit, kMostLimit);
  if (!(spread.spacing > 0)) return most;
  const double pixels = kFill * SpacingInPixels(spread, view, height);
  return std::isfinite(pixels) ? std::clamp(static_cast<float>(pixels), 1.0f, most) : most;
}

float MarkerSizeFor(const PointSpread& spread, const View& view, int height) {
  const double pixels = kMarkerShare * SpacingInPixels(spread, view, height);
  const bool isSpread = spread.spacing > 0 && std::isfinite(pixels);
  return static_cast<float>(isSpread ? std::clamp(pixels, kLeastMarker, kMostMarker) : kMostMarker);
}

}  // namespace hostkit
