// The points of a scene that decide how it fits into a frame.
#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "hostkit/scene/camera.h"
#include "hostkit/scene/scene.h"

namespace hostkit {
namespace {

using Imath::M44f;
using Imath::V3f;

// Of a sphere they miss at most 8 percent of the radius, in the direction farthest from all.
constexpr int kDirections = 48;
// Of larger meshes every nth vertex is looked at.
constexpr std::size_t kMaxVerticesToInspect = 200000;

// Directions spread evenly over the sphere, on a spiral of golden-angle steps.
std::vector<V3f> Directions() {
  const float goldenAngle = static_cast<float>(M_PI) * (3 - std::sqrt(5.0f));
  std::vector<V3f> directions;
  for (int i = 0; i < kDirections; ++i) {
    const float y = 1 - (2 * static_cast<float>(i) + 1) / kDirections;
    const float radius = std::sqrt(1 - y * y);
    const float angle = goldenAngle * static_cast<float>(i);
    directions.emplace_back(radius * std::cos(angle), y, radius * std::sin(angle));
  }
  return directions;
}

struct Extreme {
  float reach = -std::numeric_limits<float>::infinity();
  V3f point{0, 0, 0};
};

// How far along a world direction the vertices of a placed mesh reach, and which one does.
void Extend(Extreme& extreme, const V3f& direction, const SceneMesh& mesh, const M44f& toWorld) {
  // The direction in mesh space: dot products then need no placing of each vertex.
  const V3f local(direction.dot({toWorld[0][0], toWorld[0][1], toWorld[0][2]}),
                  direction.dot({toWorld[1][0], toWorld[1][1], toWorld[1][2]}),
                  direction.dot({toWorld[2][0], toWorld[2][1], toWorld[2][2]}));
  const std::size_t step = mesh.positions.size() / kMaxVerticesToInspect + 1;
  std::size_t farthest = 0;
  float reach = -std::numeric_limits<float>::infinity();
  for (std::size_t i = 0; i < mesh.positions.size(); i += step) {
    const float along = local.dot(mesh.positions[i]);
    if (along > reach) {
      reach = along;
      farthest = i;
    }
  }
  const V3f point = mesh.positions[farthest] * toWorld;
  const float worldReach = direction.dot(point);
  if (worldReach > extreme.reach) extreme = {worldReach, point};
}

}  // namespace

std::vector<V3f> ExtremePoints(const Scene& scene) {
  std::vector<V3f> points;
  for (const V3f& direction : Directions()) {
    Extreme extreme;
    for (const SceneInstance& instance : scene.instances) {
      const SceneMesh& mesh = scene.meshes[static_cast<std::size_t>(instance.mesh)];
      if (!mesh.positions.empty()) Extend(extreme, direction, mesh, instance.toWorld);
    }
    if (std::isfinite(extreme.reach)) points.push_back(extreme.point);
  }
  return points;
}

}  // namespace hostkit
