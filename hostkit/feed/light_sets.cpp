// Light rigs: the scene's own lights, a headlight, or three lights that go with the camera.
#include "hostkit/feed/light_sets.h"

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

#include <algorithm>
#include <cstddef>

#include "host/Vectors.h"
#include "hostkit/scene/camera.h"

namespace hostkit {
namespace {

using Imath::V3f;

// The key comes over the viewer's left shoulder, the fill softens its shadows from the right
// without highlights of its own, the rim draws the upper edge from behind. Together they stay near
// 1 on a surface that faces the viewer.
struct RigLight {
  V3f travels;  // view space
  float red, green, blue, intensity;
  bool specular;
};
const RigLight kThreePointRig[] = {{{0.5f, -0.6f, -0.8f}, 1.0f, 0.98f, 0.95f, 0.85f, true},
                                   {{-0.8f, -0.1f, -0.6f}, 0.92f, 0.95f, 1.0f, 0.35f, false},
                                   {{0.15f, -0.7f, 0.7f}, 1.0f, 1.0f, 1.0f, 0.45f, true}};

Vector ToHost(const V3f& v) {
  return {v.x, v.y, v.z};
}

GALight MakeRigLight(const RigLight& from) {
  GALight light;
  light.type = GALight::kDirectional;
  light.target = ToHost(from.travels.normalized());
  light.red = from.red;
  light.green = from.green;
  light.blue = from.blue;
  light.intensity = from.intensity;
  light.specularOn = from.specular;
  return light;
}

// A range that is not given is the larger of the scene's diagonal and the light's distance from its
// middle: the renderer's attenuation is 0.87 at the range and 1.2 at the light itself, so that the
// scene is lit nearly fully wherever in or around it the light stands.
float RangeFor(const SceneLight& light, const Imath::Box3f& bounds) {
  if (light.range > 0) return light.range;
  if (bounds.isEmpty()) return 1;
  float range =
      std::max((bounds.max - bounds.min).length(), (light.position - bounds.center()).length());
  return range > 0 ? range : 1;
}

GALight MakeSceneLight(const SceneLight& from, const Imath::M44f& toView,
                       const Imath::Box3f& bounds, float unit) {
  GALight light;
  V3f position, direction;
  toView.multVecMatrix(from.position, position);
  position *= unit;
  toView.multDirMatrix(from.direction, direction);
  light.type = from.type;
  light.position = ToHost(position);
  light.target = ToHost(position + direction);
  if (from.type == GALight::kDirectional) {  // its place means nothing and would cost precision
    light.position = {};
    light.target = ToHost(direction);
  }
  light.red = from.red;
  light.green = from.green;
  light.blue = from.blue;
  light.intensity = from.intensity;
  light.coneAngle = from.coneAngle;
  light.coneSoftness = from.coneSoftness;
  light.range = RangeFor(from, bounds) * unit;
  return light;
}

float Strength(const GALight& light) {
  return light.intensity * std::max({light.red, light.green, light.blue});
}

}  // namespace

float FillFor(float brightness) {
  constexpr float kBlack = 0.02f, kEnough = 0.15f;
  return std::clamp((kEnough - brightness) / (kEnough - kBlack), 0.0f, 1.0f);
}

void LightRig::Build(const Scene& scene, LightSet set, const SceneCamera& camera,
                     const Imath::Box3f& bounds, float unit, float fill) {
  if (set == LightSet::kAuto) {
    set = scene.lights.empty() ? LightSet::kThreePoint : LightSet::kScene;
  }
  // New nodes are made before the old ones go: a changed list must have another address.
  std::deque<GALight> lights;
  std::deque<LightListNode> nodes;
  if (set == LightSet::kThreePoint) {
    for (const RigLight& light : kThreePointRig) lights.push_back(MakeRigLight(light));
  } else if (set == LightSet::kScene) {
    Imath::M44f toView = WorldToView(camera);
    for (const SceneLight& light : scene.lights) {
      lights.push_back(MakeSceneLight(light, toView, bounds, unit));
    }
    for (const RigLight& light : kThreePointRig) {
      if (fill <= 0) break;
      lights.push_back(MakeRigLight(light));
      lights.back().intensity *= fill;
    }
  }
  if (lights.size() > kMaxLights) {
    std::stable_sort(lights.begin(), lights.end(),
                     [](const GALight& a, const GALight& b) { return Strength(a) > Strength(b); });
  }
  for (GALight& light : lights) {
    nodes.push_back({nullptr, &light});
    if (nodes.size() > 1) nodes[nodes.size() - 2].next = &nodes.back();
  }
  m_lights.swap(lights);  // elements keep their addresses
  m_nodes.swap(nodes);
}

}  // namespace hostkit
