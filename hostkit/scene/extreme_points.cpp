// The points of a scene that decide how it fits into a frame.
#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "hostkit/scene/camera.h"
#include "hostkit/scene/extreme_vertices.h"
#include "hostkit/scene/scene.h"
#include "hostkit/services/share_work.h"

namespace hostkit {
namespace {

using Imath::M44f;
using Imath::V3f;

constexpr int kDirections = 48;  // see SpreadDirections

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

std::vector<V3f> SpreadDirections() {
  // On a spiral of golden-angle steps.
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

std::vector<std::uint32_t> ExtremeVertices(const std::vector<V3f>& positions,
                                           const std::vector<std::uint16_t>& groups,
                                           std::size_t groupCount, std::size_t step) {
  struct Farthest {
    float reach = -std::numeric_limits<float>::infinity();
    std::uint32_t vertex = 0;
  };
  std::vector<bool> isExtreme(positions.size());
  for (const V3f& direction : SpreadDirections()) {
    std::vector<Farthest> farthest(groupCount);
    for (std::size_t i = 0; i < positions.size(); i += step) {
      const float along = direction.dot(positions[i]);
      Farthest& best = farthest[groups[i]];
      if (along > best.reach) best = {along, static_cast<std::uint32_t>(i)};
    }
    for (const Farthest& best : farthest) {
      if (std::isfinite(best.reach)) isExtreme[best.vertex] = true;
    }
  }
  std::vector<std::uint32_t> vertices;
  for (std::uint32_t i = 0; i < isExtreme.size(); ++i) {
    if (isExtreme[i]) vertices.push_back(i);
  }
  return vertices;
}

std::vector<V3f> ExtremePoints(const Scene& scene) {
  constexpr std::size_t kVerticesAThread = 32768;  // less does not pay one
  const std::vector<V3f> directions = SpreadDirections();
  std::vector<Extreme> extremes(directions.size());
  std::size_t vertices = 0;
  for (const SceneInstance& instance : scene.instances) {
    vertices += scene.meshes[static_cast<std::size_t>(instance.mesh)].positions.size();
  }
  ShareWork(directions.size(), std::max<std::size_t>(vertices / kVerticesAThread, 1),
            [&](std::size_t i) {
              for (const SceneInstance& instance : scene.instances) {
                const SceneMesh& mesh = scene.meshes[static_cast<std::size_t>(instance.mesh)];
                if (!mesh.positions.empty()) {
                  Extend(extremes[i], directions[i], mesh, instance.toWorld);
                }
              }
            });
  std::vector<V3f> points;
  for (const Extreme& extreme : extremes) {
    if (std::isfinite(extreme.reach)) points.push_back(extreme.point);
  }
  return points;
}

}  // namespace hostkit
