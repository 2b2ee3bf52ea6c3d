// What every part of the renderer relies on in a scene.
#include "hostkit/scene/scene_check.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <vector>

#include "host/Lights.h"
#include "hostkit/scene/directions.h"

namespace hostkit {
namespace {

using Imath::V3f;

// Pixels a side of the largest picture, degrees and softness of a light's cone, see scene.h.
constexpr int kLargestSide = 32768;
constexpr float kWidestCone = 90, kLargestSoftness = 10;
constexpr float kWidestView = 3.1415926f;
constexpr int kMostInfluences = 64;  // of joints on a vertex

/// Whether all of `count` floats are finite. By their bits, which compilers turn into wide steps.
bool AreAllFinite(const void* floats, std::size_t count) {
  constexpr std::uint32_t kExponent = 0x7F800000;
  const auto* bytes = static_cast<const unsigned char*>(floats);
  std::uint32_t bad = 0;
  for (std::size_t i = 0; i < count; ++i) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, bytes + i * sizeof bits, sizeof bits);
    bad |= static_cast<std::uint32_t>((bits & kExponent) == kExponent);
  }
  return bad == 0;
}

template <class Vector>
bool AreAllFinite(const std::vector<Vector>& vectors) {
  const std::size_t bytes = vectors.size() * sizeof(Vector);
  return AreAllFinite(vectors.data(), bytes / sizeof(float));
}

bool IsIndex(int index, std::size_t count) {
  return index >= 0 && static_cast<std::size_t>(index) < count;
}

bool AreIndices(const std::vector<std::uint32_t>& indices, std::size_t each, std::size_t count) {
  std::uint32_t largest = 0;
  for (const std::uint32_t index : indices) largest = std::max(largest, index);
  return indices.size() % each == 0 && (indices.empty() || largest < count);
}

template <class Vector>
bool IsAbsentOr(const std::vector<Vector>& values, std::size_t count) {
  return values.empty() || values.size() == count;
}

bool IsWrap(PictureWrap wrap) {
  return wrap <= PictureWrap::kClamp;
}

bool IsSound(const SceneImage& image, const Scene&) {
  if (!image.bitmap || !IsWrap(image.wrapU) || !IsWrap(image.wrapV)) return false;
  const HBitmapNode& bitmap = *image.bitmap;
  return bitmap.GetWidth() > 0 && bitmap.GetWidth() <= kLargestSide && bitmap.GetHeight() > 0 &&
         bitmap.GetHeight() <= kLargestSide && bitmap.FindBuffer("Color");
}

bool IsSound(const SceneMaterial& material, const Scene& scene) {
  const AttrProperty& surface = material.surface;
  for (const AnimatableColor* color : {&surface.base, &surface.ambient, &surface.specular}) {
    if (!IsFinite(V3f(color->red.Current(), color->green.Current(), color->blue.Current()))) {
      return false;
    }
  }
  const float values[] = {surface.ambientFactor.Current(), surface.roughness.Current(),
                          surface.specularFactor.Current(), surface.transparency.Current()};
  const auto isPicture = [&](int image) {
    return image == -1 || IsIndex(image, scene.images.size());
  };
  return AreAllFinite(values, std::size(values)) && std::isfinite(material.alphaCutoff) &&
         AreAllFinite(material.emission, std::size(material.emission)) &&
         isPicture(material.image) && isPicture(material.emissionImage);
}

bool IsSound(const SceneMesh& mesh, const Scene& scene) {
  const std::size_t count = mesh.positions.size();
  return AreAllFinite(mesh.positions) && AreAllFinite(mesh.normals) && AreAllFinite(mesh.uvs) &&
         IsAbsentOr(mesh.normals, count) && IsAbsentOr(mesh.uvs, count) &&
         IsAbsentOr(mesh.colors, count) && AreIndices(mesh.triangles, 3, count) &&
         AreIndices(mesh.lines, 2, count) && AreIndices(mesh.points, 1, count) &&
         IsIndex(mesh.material, scene.materials.size());
}

bool IsSound(const SceneInstance& instance, const Scene& scene) {
  return IsIndex(instance.mesh, scene.meshes.size()) && IsFinite(instance.toWorld) &&
         (instance.node == -1 || IsIndex(instance.node, scene.nodeNames.size()));
}

bool IsSound(const SceneCamera& camera, const Scene&) {
  return IsFinite(camera.eye) && IsFinite(camera.forward) && IsFinite(camera.up) &&
         camera.verticalFov > 0 && camera.verticalFov <= kWidestView &&
         camera.parallelHeight >= 0 && std::isfinite(camera.parallelHeight) && camera.aspect >= 0 &&
         std::isfinite(camera.aspect) && camera.nearCut >= 0 && std::isfinite(camera.nearCut) &&
         camera.farCut >= 0 && std::isfinite(camera.farCut);
}

bool IsSound(const SceneLight& light, const Scene&) {
  const float values[] = {light.red, light.green, light.blue, light.intensity, light.range};
  return light.type >= GALight::kPoint && light.type <= GALight::kDirectional &&
         IsFinite(light.position) && IsFinite(light.direction) &&
         AreAllFinite(values, std::size(values)) && light.range >= 0 && light.coneAngle >= 0 &&
         light.coneAngle <= kWidestCone && light.coneSoftness >= 0 &&
         light.coneSoftness <= kLargestSoftness;
}

template <class Value>
bool AreKeysSound(const std::vector<AnimationKey<Value>>& keys) {
  for (std::size_t i = 0; i < keys.size(); ++i) {
    if (!std::isfinite(keys[i].time) || !IsFinite(keys[i].value)) return false;
    if (i > 0 && !(keys[i - 1].time < keys[i].time)) return false;
  }
  return true;
}

template <class Value>
bool IsTrackSound(const KeyTrack<Value>& track) {
  const bool isCubic = track.curve == KeyCurve::kCubic;
  return track.curve <= KeyCurve::kCubic && AreKeysSound(track.keys) &&
         track.tangents.size() == (isCubic ? track.keys.size() : 0) &&
         std::all_of(track.tangents.begin(), track.tangents.end(),
                     [](const KeyTangents<Value>& t) { return IsFinite(t.in) && IsFinite(t.out); });
}

bool IsChannelSound(const NodeChannel& channel, const SceneMotion& motion) {
  return IsIndex(channel.node, motion.nodes.size()) && IsFinite(channel.rest.translation) &&
         IsFinite(channel.rest.rotation) && IsFinite(channel.rest.scale) &&
         IsTrackSound(channel.translations) && IsTrackSound(channel.rotations) &&
         IsTrackSound(channel.scales);
}

bool IsChannelSound(const WeightChannel& channel, const SceneMotion& motion) {
  if (!IsIndex(channel.deformation, motion.deformations.size())) return false;
  const std::size_t targets =
      motion.deformations[static_cast<std::size_t>(channel.deformation)].targets.size();
  const std::size_t each = channel.curve == KeyCurve::kCubic ? 3 * targets : targets;
  const std::vector<double>& times = channel.times;
  return channel.curve <= KeyCurve::kCubic && channel.values.size() == times.size() * each &&
         AreAllFinite(channel.values) &&
         std::all_of(times.begin(), times.end(), [](double time) { return std::isfinite(time); }) &&
         std::adjacent_find(times.begin(), times.end(), std::greater_equal<>()) == times.end();
}

bool IsSound(const SceneAnimation& animation, const Scene& scene) {
  const auto isSound = [&](const auto& channel) { return IsChannelSound(channel, scene.motion); };
  return IsIndex(animation.model, static_cast<std::size_t>(scene.motion.models)) &&
         std::isfinite(animation.duration) && animation.duration >= 0 &&
         std::all_of(animation.channels.begin(), animation.channels.end(), isSound) &&
         std::all_of(animation.weights.begin(), animation.weights.end(), isSound);
}

bool AreJointsSound(const SceneDeformation& deformation, const SceneMotion& motion) {
  const std::size_t count =
      deformation.positions.size() *
      static_cast<std::size_t>(std::clamp(deformation.influences, 0, kMostInfluences));
  const auto isJoint = [&](const SceneJoint& joint) {
    return (joint.node == -1 || IsIndex(joint.node, motion.nodes.size())) && IsFinite(joint.toNode);
  };
  const auto isInfluence = [&](std::uint16_t joint) { return joint < deformation.joints.size(); };
  return deformation.influences >= 0 && deformation.influences <= kMostInfluences &&
         (deformation.influences == 0) == deformation.joints.empty() &&
         deformation.vertexJoints.size() == count && deformation.vertexWeights.size() == count &&
         AreAllFinite(deformation.vertexWeights) &&
         std::all_of(deformation.joints.begin(), deformation.joints.end(), isJoint) &&
         std::all_of(deformation.vertexJoints.begin(), deformation.vertexJoints.end(), isInfluence);
}

bool IsSound(const SceneDeformation& deformation, const Scene& scene) {
  if (!IsIndex(deformation.mesh, scene.meshes.size())) return false;
  const SceneMesh& mesh = scene.meshes[static_cast<std::size_t>(deformation.mesh)];
  const std::size_t count = mesh.positions.size();
  const auto isTarget = [count](const MorphTarget& target) {
    return target.positions.size() == count && IsAbsentOr(target.normals, count) &&
           AreAllFinite(target.positions) && AreAllFinite(target.normals);
  };
  return deformation.positions.size() == count &&
         deformation.normals.size() == mesh.normals.size() && AreAllFinite(deformation.positions) &&
         AreAllFinite(deformation.normals) &&
         std::all_of(deformation.targets.begin(), deformation.targets.end(), isTarget) &&
         deformation.weights.size() == deformation.targets.size() &&
         AreAllFinite(deformation.weights) && AreJointsSound(deformation, scene.motion);
}

bool IsSound(const MovingInstance& moving, const Scene& scene) {
  return IsIndex(moving.instance, scene.instances.size()) &&
         IsIndex(moving.node, scene.motion.nodes.size()) && IsFinite(moving.toNode);
}

bool IsSound(const MovingCamera& moving, const Scene& scene) {
  return IsIndex(moving.camera, scene.cameras.size()) &&
         IsIndex(moving.node, scene.motion.nodes.size()) && IsFinite(moving.eye) &&
         IsFinite(moving.forward) && IsFinite(moving.up);
}

bool IsSound(const MovingLight& moving, const Scene& scene) {
  return IsIndex(moving.light, scene.lights.size()) &&
         IsIndex(moving.node, scene.motion.nodes.size()) && IsFinite(moving.position) &&
         IsFinite(moving.direction);
}

/// Looks at all of one kind; the first that is not sound is named.
template <class Part>
bool AreSound(const std::vector<Part>& parts, const char* kind, const Scene& scene,
              std::string* why) {
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (IsSound(parts[i], scene)) continue;
    *why = fmt::format("its {} {} is not sound", kind, i);
    return false;
  }
  return true;
}

bool AreNodesSound(const std::vector<SceneNode>& nodes, std::string* why) {
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    // Before it: so that nobody follows a circle.
    const bool hasParent = nodes[i].parent == -1 || IsIndex(nodes[i].parent, i);
    if (hasParent && IsFinite(nodes[i].place) && IsFinite(nodes[i].toParentNode)) continue;
    *why = fmt::format("its node {} is not sound", i);
    return false;
  }
  return true;
}

bool AreNamesSound(const std::vector<SceneNodeName>& nodes, std::string* why) {
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    if (nodes[i].above == -1 || IsIndex(nodes[i].above, i)) continue;
    *why = fmt::format("its node name {} is not sound", i);
    return false;
  }
  return true;
}

/// Whether no two deformations move one mesh: they may be worked out at the same time.
bool AreDeformationsApart(const std::vector<SceneDeformation>& deformations, std::size_t meshes,
                          std::string* why) {
  std::vector<bool> isMoved(meshes);
  for (std::size_t i = 0; i < deformations.size(); ++i) {
    const auto mesh = static_cast<std::size_t>(deformations[i].mesh);
    if (isMoved[mesh]) {
      *why = fmt::format("its deformation {} is of a mesh that has one already", i);
      return false;
    }
    isMoved[mesh] = true;
  }
  return true;
}

}  // namespace

bool CheckScene(const Scene& scene, std::string* why) {
  const SceneMotion& motion = scene.motion;
  if (motion.models < 1) {
    *why = "it is of no model";
    return false;
  }
  const double unit = scene.facts.metersPerUnit;
  if (!std::isfinite(scene.origin.length2()) || scene.upAxis > UpAxis::kMinusZ ||
      !std::isfinite(unit) || unit < 0) {
    *why = "its world is not sound";
    return false;
  }
  return AreSound(scene.images, "picture", scene, why) &&
         AreSound(scene.materials, "material", scene, why) &&
         AreSound(scene.meshes, "mesh", scene, why) &&
         AreSound(scene.instances, "instance", scene, why) && AreNamesSound(scene.nodeNames, why) &&
         AreSound(scene.cameras, "camera", scene, why) &&
         AreSound(scene.lights, "light", scene, why) && AreNodesSound(motion.nodes, why) &&
         AreSound(motion.animations, "animation", scene, why) &&
         AreSound(motion.instances, "moving instance", scene, why) &&
         AreSound(motion.cameras, "moving camera", scene, why) &&
         AreSound(motion.lights, "moving light", scene, why) &&
         AreSound(motion.deformations, "deformation", scene, why) &&
         AreDeformationsApart(motion.deformations, scene.meshes.size(), why);
}

}  // namespace hostkit
