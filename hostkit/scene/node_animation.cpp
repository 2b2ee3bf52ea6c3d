// Plays the animations of a scene's nodes.
#include "hostkit/scene/node_animation.h"

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

#include <algorithm>
#include <cstddef>
#include <utility>

#include "hostkit/scene/directions.h"
#include "hostkit/scene/key_curves.h"

namespace hostkit {
namespace {

using Imath::M44f;
using Imath::V3f;

/// The point in the space that `matrix` leads to; `fallback` where that is beyond the numbers.
V3f PlacedOr(const V3f& point, const M44f& matrix, const V3f& fallback) {
  const V3f placed = point * matrix;
  return IsFinite(placed) ? placed : fallback;
}

M44f ToMatrix(const NodePlace& place) {
  M44f matrix;
  matrix.setScale(place.scale);
  M44f move;
  move.setTranslation(place.translation);
  return matrix * place.rotation.toMatrix44() * move;
}

/// The node-to-world matrices of all nodes.
std::vector<M44f> NodesToWorld(const SceneMotion& motion, const std::vector<int>& animations,
                               double seconds) {
  std::vector<M44f> places;
  places.reserve(motion.nodes.size());
  for (const SceneNode& node : motion.nodes) places.push_back(node.place);
  for (const int animation : animations) {
    for (const NodeChannel& channel :
         motion.animations[static_cast<std::size_t>(animation)].channels) {
      places[static_cast<std::size_t>(channel.node)] = ToMatrix(PlaceAt(channel, seconds));
    }
  }
  for (std::size_t i = 0; i < places.size(); ++i) {
    const SceneNode& node = motion.nodes[i];
    places[i] *= node.toParentNode;
    if (node.parent >= 0) places[i] *= places[static_cast<std::size_t>(node.parent)];
  }
  return places;
}

void PlaceInstances(Scene& scene, const std::vector<M44f>& toWorld) {
  for (const MovingInstance& moving : scene.motion.instances) {
    const M44f placed = moving.toNode * toWorld[static_cast<std::size_t>(moving.node)];
    if (IsFinite(placed))
      scene.instances[static_cast<std::size_t>(moving.instance)].toWorld = placed;
  }
}

void PlaceCameras(Scene& scene, const std::vector<M44f>& toWorld) {
  for (const MovingCamera& moving : scene.motion.cameras) {
    const M44f& matrix = toWorld[static_cast<std::size_t>(moving.node)];
    SceneCamera& camera = scene.cameras[static_cast<std::size_t>(moving.camera)];
    if (!IsFinite(matrix)) continue;
    camera.eye = PlacedOr(moving.eye, matrix, camera.eye);
    camera.forward = TurnedOr(moving.forward, matrix, camera.forward);
    const V3f up = TurnedOr(moving.up, matrix, camera.up);
    if (up.cross(camera.forward).length() > 1e-4f) camera.up = up;
  }
}

void PlaceLights(Scene& scene, const std::vector<M44f>& toWorld) {
  for (const MovingLight& moving : scene.motion.lights) {
    const M44f& matrix = toWorld[static_cast<std::size_t>(moving.node)];
    SceneLight& light = scene.lights[static_cast<std::size_t>(moving.light)];
    if (!IsFinite(matrix)) continue;
    light.position = PlacedOr(moving.position, matrix, light.position);
    light.direction = TurnedOr(moving.direction, matrix, light.direction);
  }
}

/// What moves the vertices of each deformation.
std::vector<DeformationPose> PosesAt(const SceneMotion& motion, const std::vector<int>& animations,
                                     double seconds, const std::vector<M44f>& toWorld) {
  std::vector<DeformationPose> poses;
  poses.reserve(motion.deformations.size());
  for (const SceneDeformation& deformation : motion.deformations) {
    DeformationPose& pose = poses.emplace_back();
    pose.weights = deformation.weights;
    pose.jointsToPosed.reserve(deformation.joints.size());
    for (const SceneJoint& joint : deformation.joints) {
      const bool hangs = joint.node >= 0;
      pose.jointsToPosed.push_back(
          hangs ? joint.toNode * toWorld[static_cast<std::size_t>(joint.node)] : joint.toNode);
    }
  }
  for (const int animation : animations) {
    for (const WeightChannel& channel :
         motion.animations[static_cast<std::size_t>(animation)].weights) {
      WeightsAt(channel, seconds, poses[static_cast<std::size_t>(channel.deformation)].weights);
    }
  }
  return poses;
}

/// Which deformations an animation moves, whichever it is.
std::vector<bool> FindMoved(const SceneMotion& motion) {
  std::vector<bool> moved;
  moved.reserve(motion.deformations.size());
  for (const SceneDeformation& deformation : motion.deformations) {
    moved.push_back(std::any_of(deformation.joints.begin(), deformation.joints.end(),
                                [](const SceneJoint& joint) { return joint.node >= 0; }));
  }
  for (const SceneAnimation& animation : motion.animations) {
    for (const WeightChannel& channel : animation.weights) {
      moved[static_cast<std::size_t>(channel.deformation)] = true;
    }
  }
  return moved;
}

}  // namespace

std::vector<int> FindAnimations(const Scene& scene, const std::string& name) {
  std::vector<int> found;
  const std::vector<SceneAnimation>& animations = scene.motion.animations;
  int model = -1;
  for (std::size_t i = 0; i < animations.size(); ++i) {
    const bool isFirst = animations[i].model != model;
    model = animations[i].model;
    if (name.empty() ? isFirst : animations[i].name == name) found.push_back(static_cast<int>(i));
  }
  return found;
}

NodePlace PlaceAt(const NodeChannel& channel, double seconds) {
  return {ValueAt(channel.translations, seconds, channel.rest.translation),
          ValueAt(channel.rotations, seconds, channel.rest.rotation),
          ValueAt(channel.scales, seconds, channel.rest.scale)};
}

void ScenePoser::Pose(const std::vector<int>& animations, double seconds) {
  const std::vector<M44f> toWorld = NodesToWorld(m_scene.motion, animations, seconds);
  PlaceInstances(m_scene, toWorld);
  PlaceCameras(m_scene, toWorld);
  PlaceLights(m_scene, toWorld);

  const std::vector<SceneDeformation>& deformations = m_scene.motion.deformations;
  std::vector<DeformationPose> poses = PosesAt(m_scene.motion, animations, seconds, toWorld);
  std::vector<DeformedMesh> meshes;
  for (std::size_t i = 0; i < deformations.size(); ++i) {
    if (!m_poses.empty() && poses[i] == m_poses[i]) continue;
    meshes.push_back({&deformations[i], &poses[i],
                      &m_scene.meshes[static_cast<std::size_t>(deformations[i].mesh)]});
  }
  DeformMeshes(meshes);
  m_poses = std::move(poses);
}

void PoseScene(Scene& scene, const std::vector<int>& animations, double seconds) {
  ScenePoser(scene).Pose(animations, seconds);
}

void SettleAtRest(Scene& scene) {
  SceneMotion& motion = scene.motion;
  if (motion.deformations.empty()) return;
  PoseScene(scene, {}, 0);
  const std::vector<bool> moved = FindMoved(motion);
  std::vector<int> numbers;  // that they get; of those that go, any
  std::vector<SceneDeformation> kept;
  for (std::size_t i = 0; i < moved.size(); ++i) {
    numbers.push_back(static_cast<int>(kept.size()));
    if (moved[i]) kept.push_back(std::move(motion.deformations[i]));
  }
  motion.deformations = std::move(kept);
  for (SceneAnimation& animation : motion.animations) {
    for (WeightChannel& channel : animation.weights) {
      channel.deformation = numbers[static_cast<std::size_t>(channel.deformation)];
    }
  }
}

}  // namespace hostkit
