// Plays the animations of a scene's nodes.
#include "hostkit/scene/node_animation.h"

#include <Imath/ImathMatrix.h>

#include <algorithm>
#include <cstddef>

#include "hostkit/scene/camera.h"
#include "hostkit/scene/directions.h"

namespace hostkit {
namespace {

using Imath::M44f;
using Imath::Quatf;
using Imath::V3f;

// Moments at which the reach of an animation is looked at; what it reaches between them is missed.
constexpr int kMomentsToMeasure = 33;

V3f Between(const V3f& a, const V3f& b, float share) {
  return a + (b - a) * share;
}

/// The point in the space that `matrix` leads to; `fallback` where that is beyond the numbers.
V3f PlacedOr(const V3f& point, const M44f& matrix, const V3f& fallback) {
  const V3f placed = point * matrix;
  return IsFinite(placed) ? placed : fallback;
}

Quatf Between(const Quatf& a, const Quatf& b, float share) {
  return Imath::slerpShortestArc(a, b, share);
}

template <class Value>
Value ValueAt(const KeyTrack<Value>& track, double seconds, const Value& rest) {
  const std::vector<AnimationKey<Value>>& keys = track.keys;
  if (keys.empty()) return rest;
  const auto after =
      std::upper_bound(keys.begin(), keys.end(), seconds,
                       [](double time, const AnimationKey<Value>& key) { return time < key.time; });
  if (after == keys.begin()) return keys.front().value;
  if (after == keys.end()) return keys.back().value;
  const auto before = after - 1;
  const double share = (seconds - before->time) / (after->time - before->time);
  return Between(before->value, after->value, static_cast<float>(share));
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

void PoseScene(Scene& scene, const std::vector<int>& animations, double seconds) {
  const SceneMotion& motion = scene.motion;
  const std::vector<M44f> toWorld = NodesToWorld(motion, animations, seconds);
  for (const MovingInstance& moving : motion.instances) {
    const M44f placed = moving.toNode * toWorld[static_cast<std::size_t>(moving.node)];
    if (IsFinite(placed))
      scene.instances[static_cast<std::size_t>(moving.instance)].toWorld = placed;
  }
  for (const MovingCamera& moving : motion.cameras) {
    const M44f& matrix = toWorld[static_cast<std::size_t>(moving.node)];
    SceneCamera& camera = scene.cameras[static_cast<std::size_t>(moving.camera)];
    if (!IsFinite(matrix)) continue;
    camera.eye = PlacedOr(moving.eye, matrix, camera.eye);
    camera.forward = TurnedOr(moving.forward, matrix, camera.forward);
    const V3f up = TurnedOr(moving.up, matrix, camera.up);
    if (up.cross(camera.forward).length() > 1e-4f) camera.up = up;
  }
  for (const MovingLight& moving : motion.lights) {
    const M44f& matrix = toWorld[static_cast<std::size_t>(moving.node)];
    SceneLight& light = scene.lights[static_cast<std::size_t>(moving.light)];
    if (!IsFinite(matrix)) continue;
    light.position = PlacedOr(moving.position, matrix, light.position);
    light.direction = TurnedOr(moving.direction, matrix, light.direction);
  }
}

SceneReach MeasureReach(Scene& scene, const std::vector<int>& animations) {
  double duration = 0;
  for (const int animation : animations) {
    duration =
        std::max(duration, scene.motion.animations[static_cast<std::size_t>(animation)].duration);
  }
  if (!animations.empty()) PoseScene(scene, animations, 0);
  if (duration <= 0 || scene.motion.instances.empty()) {
    return {ExtremePoints(scene), scene.Bounds()};
  }
  // Each mesh by its own extreme points, so that looking again and again costs little.
  Scene outline;
  outline.motion = scene.motion;
  outline.cameras = scene.cameras;
  outline.lights = scene.lights;
  outline.instances = scene.instances;
  for (SceneMesh& mesh : scene.meshes) {
    Scene alone;
    alone.instances.resize(1);
    alone.meshes.resize(1);
    alone.meshes[0].positions.swap(mesh.positions);
    outline.meshes.emplace_back().positions = ExtremePoints(alone);
    alone.meshes[0].positions.swap(mesh.positions);
  }
  SceneReach reach;
  for (int i = 0; i < kMomentsToMeasure; ++i) {
    PoseScene(outline, animations, duration * i / (kMomentsToMeasure - 1));
    const std::vector<V3f> points = ExtremePoints(outline);
    reach.points.insert(reach.points.end(), points.begin(), points.end());
  }
  for (const V3f& point : reach.points) reach.bounds.extendBy(point);
  return reach;
}

}  // namespace hostkit
