// The space that a scene takes while it moves.
#include <Imath/ImathVec.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "hostkit/scene/camera.h"
#include "hostkit/scene/extreme_vertices.h"
#include "hostkit/scene/node_animation.h"

namespace hostkit {
namespace {

using Imath::V3f;

// Moments at which the reach of an animation is looked at; what it reaches between them is missed.
constexpr int kMomentsToMeasure = 33;

/// The joint that has most of each vertex; all zero without joints.
std::vector<std::uint16_t> MainJoints(const SceneDeformation& deformation) {
  std::vector<std::uint16_t> joints(deformation.positions.size());
  const auto influences = static_cast<std::size_t>(deformation.influences);
  for (std::size_t i = 0; influences > 0 && i < joints.size(); ++i) {
    const float* const weights = deformation.vertexWeights.data() + i * influences;
    const auto most = std::max_element(weights, weights + influences) - weights;
    joints[i] = deformation.vertexJoints[i * influences + static_cast<std::size_t>(most)];
  }
  return joints;
}

/// The outermost vertices of each joint's share of a mesh, and of what each target moves.
std::vector<std::uint32_t> OutermostVertices(const SceneDeformation& deformation) {
  const std::size_t shapes = deformation.targets.size() + 1;
  // Shapes that morph targets make count as more vertices.
  const std::size_t step = deformation.positions.size() * shapes / kMaxVerticesToInspect + 1;
  const std::size_t joints = std::max<std::size_t>(deformation.joints.size(), 1);
  std::vector<std::uint32_t> vertices =
      ExtremeVertices(deformation.positions, MainJoints(deformation), joints, step);
  std::vector<V3f> morphed = deformation.positions;
  std::vector<std::uint16_t> isMoved(morphed.size());
  for (const MorphTarget& target : deformation.targets) {
    for (std::size_t i = 0; i < morphed.size(); i += step) {
      morphed[i] = deformation.positions[i] + target.positions[i];
      isMoved[i] = target.positions[i] != V3f(0.0f);
    }
    const std::vector<std::uint32_t> more = ExtremeVertices(morphed, isMoved, 2, step);
    vertices.insert(vertices.end(), more.begin(), more.end());
  }
  std::sort(vertices.begin(), vertices.end());
  vertices.erase(std::unique(vertices.begin(), vertices.end()), vertices.end());
  return vertices;
}

template <class Value>
std::vector<Value> Picked(const std::vector<Value>& values,
                          const std::vector<std::uint32_t>& vertices, std::size_t each) {
  std::vector<Value> picked;
  picked.reserve(vertices.size() * each);
  for (const std::uint32_t vertex : vertices) {
    const auto from = values.begin() + static_cast<std::ptrdiff_t>(vertex * each);
    picked.insert(picked.end(), from, from + static_cast<std::ptrdiff_t>(each));
  }
  return picked;
}

/// A deformation of those vertices alone, without normals.
SceneDeformation OutlineOf(const SceneDeformation& whole) {
  const std::vector<std::uint32_t> vertices = OutermostVertices(whole);
  const auto influences = static_cast<std::size_t>(whole.influences);
  SceneDeformation outline;
  outline.mesh = whole.mesh;
  outline.positions = Picked(whole.positions, vertices, 1);
  for (const MorphTarget& target : whole.targets) {
    outline.targets.push_back({Picked(target.positions, vertices, 1), {}});
  }
  outline.weights = whole.weights;
  outline.joints = whole.joints;
  outline.influences = whole.influences;
  outline.vertexJoints = Picked(whole.vertexJoints, vertices, influences);
  outline.vertexWeights = Picked(whole.vertexWeights, vertices, influences);
  return outline;
}

/// A scene that reaches as far as the other in every pose, of a few vertices a mesh, so that
/// looking again and again costs little. Meshes that keep their shape are there by their own
/// extreme points. `scene` is as before in the end.
Scene OutlineOf(Scene& scene) {
  std::vector<SceneDeformation> deformations = std::move(scene.motion.deformations);
  Scene outline;
  outline.motion = scene.motion;
  outline.cameras = scene.cameras;
  outline.lights = scene.lights;
  outline.instances = scene.instances;
  for (const SceneDeformation& deformation : deformations) {
    outline.motion.deformations.push_back(OutlineOf(deformation));
  }
  scene.motion.deformations = std::move(deformations);

  const std::vector<const SceneDeformation*> deformed = DeformationsByMesh(scene);
  outline.meshes.resize(scene.meshes.size());
  for (std::size_t m = 0; m < scene.meshes.size(); ++m) {
    if (deformed[m]) continue;
    Scene alone;
    alone.instances.resize(1);
    alone.meshes.resize(1);
    alone.meshes[0].positions.swap(scene.meshes[m].positions);
    outline.meshes[m].positions = ExtremePoints(alone);
    alone.meshes[0].positions.swap(scene.meshes[m].positions);
  }
  for (const SceneDeformation& deformation : outline.motion.deformations) {
    outline.meshes[static_cast<std::size_t>(deformation.mesh)].positions = deformation.positions;
  }
  return outline;
}

}  // namespace

SceneReach MeasureReach(Scene& scene, const std::vector<int>& animations) {
  double duration = 0;
  for (const int animation : animations) {
    duration =
        std::max(duration, scene.motion.animations[static_cast<std::size_t>(animation)].duration);
  }
  if (!animations.empty()) PoseScene(scene, animations, 0);
  const bool isDeformed = !scene.motion.deformations.empty();
  if (duration <= 0 || (scene.motion.instances.empty() && !isDeformed)) {
    return {ExtremePoints(scene), scene.Bounds()};
  }
  SceneReach reach;
  if (isDeformed) reach = {ExtremePoints(scene), scene.Bounds()};
  Scene outline = OutlineOf(scene);
  ScenePoser poser(outline);
  for (int i = 0; i < kMomentsToMeasure; ++i) {
    poser.Pose(animations, duration * i / (kMomentsToMeasure - 1));
    const std::vector<V3f> points = ExtremePoints(outline);
    reach.points.insert(reach.points.end(), points.begin(), points.end());
  }
  for (const V3f& point : reach.points) reach.bounds.extendBy(point);
  return reach;
}

}  // namespace hostkit
