// Cameras and lights of a glTF file, one for each node that has one.
#include "hostkit/import/gltf/gltf_views.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <string>
#include <utility>

#include "host/Lights.h"
#include "hostkit/import/import_views.h"
#include "hostkit/scene/directions.h"
#include "hostkit/scene/node_animation.h"

namespace hostkit::gltf {
namespace {

using Imath::M44d;
using Imath::M44f;
using Imath::V3d;
using Imath::V3f;

// Both look along their node's negative z axis.
const V3f kForward(0, 0, -1), kUp(0, 1, 0);

/// The node's name, which tells several users of one thing apart, or else the thing's.
std::string NameOf(const Document& document, int node, const char* kind, Json thing, int index) {
  const std::string name = TextOf(document.Item("nodes", node), "name");
  return name.empty() ? document.NameOf(kind, thing, index) : name;
}

void SetCuts(Json lens, SceneCamera& camera) {
  camera.nearCut = std::max(NumberOf(lens, "znear", 0), 0.0f);
  const float far = NumberOf(lens, "zfar", 0);
  camera.farCut = far > camera.nearCut ? far : 0;
}

/// Sets the lens; false where the file does not tell it.
bool SetLens(Json json, SceneCamera& camera) {
  constexpr float kNarrowest = 0.01f, kWidest = 3.0f;
  const Json perspective = Member(json, "perspective");
  const Json parallel = Member(json, "orthographic");
  if (perspective.IsObject()) {
    const float fov = NumberOf(perspective, "yfov", 0);
    camera.verticalFov = std::clamp(fov, kNarrowest, kWidest);
    camera.aspect = std::max(NumberOf(perspective, "aspectRatio", 0), 0.0f);
    SetCuts(perspective, camera);
    return fov > 0;
  }
  SetCuts(parallel, camera);
  const float halfWidth = std::abs(NumberOf(parallel, "xmag", 0));
  const float halfHeight = std::abs(NumberOf(parallel, "ymag", 0));
  if (!(halfHeight > 0) || !std::isfinite(halfWidth / halfHeight)) return false;
  camera.aspect = halfWidth / halfHeight;
  camera.parallelHeight = 2 * halfHeight;
  return std::isfinite(camera.parallelHeight);
}

void Place(const M44f& toWorld, SceneCamera& camera) {
  camera.eye = toWorld.translation();
  camera.forward = TurnedOr(kForward, toWorld, kForward);
  camera.up = TurnedOr(kUp, toWorld, kUp);
  if (camera.up.cross(camera.forward).length() < 1e-4f) camera.up = UpFor(camera.forward);
}

int LightType(const std::string& type) {
  constexpr std::pair<const char*, int> kTypes[] = {
      {"directional", GALight::kDirectional}, {"spot", GALight::kSpot}, {"point", GALight::kPoint}};
  for (const auto& [name, known] : kTypes) {
    if (type == name) return known;
  }
  return -1;
}

void SetCone(Json spot, SceneLight& light) {
  constexpr float kQuarter = std::numbers::pi_v<float> / 4,
                  kDegrees = 180 / std::numbers::pi_v<float>;
  float outer = NumberOf(spot, "outerConeAngle", kQuarter);
  if (!(outer > 0) || outer > 2 * kQuarter) outer = kQuarter;
  const float inner = std::clamp(NumberOf(spot, "innerConeAngle", 0), 0.0f, outer);
  light.coneAngle = outer * kDegrees;
  light.coneSoftness = ConeSoftness(inner, outer);
}

/// A light with `intensity` as the brightness that the file gives it at `middle`; false when it
/// cannot be used.
bool MakeLight(Json json, const M44d& place, const V3d& middle, SceneLight& light) {
  const M44f toWorld(place);
  light.type = LightType(TextOf(json, "type"));
  const std::array<double, 3> color = NumbersOf<3>(json, "color", {1, 1, 1});
  const double brightest = *std::max_element(color.begin(), color.end());
  if (light.type < 0 || !(brightest > 0) || !std::isfinite(brightest)) return false;
  light.red = ToFloat(std::max(color[0] / brightest, 0.0));
  light.green = ToFloat(std::max(color[1] / brightest, 0.0));
  light.blue = ToFloat(std::max(color[2] / brightest, 0.0));
  light.intensity = ToFloat(brightest) * NumberOf(json, "intensity", 1);
  light.position = toWorld.translation();
  light.direction = TurnedOr(kForward, toWorld, kForward);
  if (light.type == GALight::kSpot) SetCone(Member(json, "spot"), light);
  if (light.type != GALight::kDirectional) {
    // Candela, which fall with the square of the distance.
    const float distance =
        std::max(static_cast<float>((place.translation() - middle).length()), 1e-18f);
    light.range = RangeFor(distance);
    light.intensity /= distance * distance;
  }
  return light.intensity > 0 && std::isfinite(light.intensity) && std::isfinite(light.range);
}

V3f Turned(const V3f& direction, const M44f& matrix) {
  V3f turned;
  matrix.multDirMatrix(direction, turned);
  return turned;
}

}  // namespace

void AddCameras(Document& document, const NodeTree& tree, const NodeHooks& hooks) {
  Scene& scene = document.Source().scene;
  for (const int node : tree.order) {
    const int index = IndexOf(document.Item("nodes", node), "camera");
    if (index < 0) continue;
    const Json json = document.Item("cameras", index);
    SceneCamera camera;
    camera.name = NameOf(document, node, "camera", json, index);
    if (!SetLens(json, camera)) {
      document.Note("cameras left out, since they have no angle or height", camera.name);
      continue;
    }
    const M44d& toWorld = tree.toWorld[static_cast<std::size_t>(node)];
    Place(M44f(toWorld), camera);
    M44f toNode;
    const int hook = hooks.Hang(node, &toNode);
    if (hook >= 0) {
      scene.motion.cameras.push_back({static_cast<int>(scene.cameras.size()), hook,
                                      toNode.translation(), Turned(kForward, toNode),
                                      Turned(kUp, toNode)});
    }
    document.Source().places.cameras.push_back(toWorld.translation());
    scene.cameras.push_back(std::move(camera));
  }
}

void AddLights(Document& document, const NodeTree& tree, const NodeHooks& hooks) {
  constexpr const char* kLights = "KHR_lights_punctual";
  Scene& scene = document.Source().scene;
  const Json lights = Member(Extension(document.Root(), kLights), "lights");
  if (Length(lights) == 0) return;
  SettleAtRest(scene);
  ExactPlaces& places = document.Source().places;
  const V3d middle = ExactBounds(scene, places).center();
  for (const int node : tree.order) {
    const int index = IndexOf(Extension(document.Item("nodes", node), kLights), "light");
    if (index < 0) continue;
    const Json json = Entry(lights, index);
    SceneLight light;
    light.name = NameOf(document, node, "light", json, index);
    const M44d& toWorld = tree.toWorld[static_cast<std::size_t>(node)];
    if (!MakeLight(json, toWorld, middle, light)) continue;
    M44f toNode;
    const int hook = hooks.Hang(node, &toNode);
    if (hook >= 0) {
      scene.motion.lights.push_back({static_cast<int>(scene.lights.size()), hook,
                                     toNode.translation(), Turned(kForward, toNode)});
    }
    places.lights.push_back(toWorld.translation());
    scene.lights.push_back(std::move(light));
  }
  Expose(true, scene.lights);
}

}  // namespace hostkit::gltf
