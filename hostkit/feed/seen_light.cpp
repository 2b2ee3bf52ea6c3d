// How much light falls on what a camera sees.
#include "hostkit/feed/seen_light.h"

#include <algorithm>
#include <cmath>

#include "hostkit/feed/vertex_lighting.h"

namespace hostkit {
namespace {

using Imath::V3f;

constexpr std::size_t kMostSamples = 2048;

const SceneMesh& MeshOf(const Scene& scene, std::size_t instance) {
  return scene.meshes[static_cast<std::size_t>(scene.instances[instance].mesh)];
}

AttrProperty WhiteSurface() {
  AttrProperty surface;
  surface.base = {1, 1, 1};
  surface.ambientFactor = 0;
  surface.specularFactor = 0;
  return surface;
}

/// Whether the camera's picture holds the point of view space.
bool IsInFrame(const V3f& point, const SceneCamera& camera, float aspect) {
  const bool isParallel = camera.parallelHeight > 0;
  if (!isParallel && point.z >= 0) return false;
  const float half = isParallel ? camera.parallelHeight / 2
                                : -point.z * std::tan(std::min(camera.verticalFov, 3.1f) / 2);
  return std::abs(point.y) <= half && std::abs(point.x) <= half * aspect;
}

}  // namespace

SeenLight::SeenLight(const Scene& scene) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < scene.instances.size(); ++i) {
    count += MeshOf(scene, i).triangles.size() / 3;
  }
  const std::size_t step = std::max<std::size_t>((count + kMostSamples - 1) / kMostSamples, 1);
  std::size_t next = 0;  // of the triangles of the instance at hand
  for (std::size_t i = 0; i < scene.instances.size(); ++i) {
    const std::size_t triangles = MeshOf(scene, i).triangles.size() / 3;
    for (; next < triangles; next += step) m_samples.push_back({i, 3 * next});
    next -= triangles;
  }
}

float SeenLight::Measure(const Scene& scene, const LightListNode* lights, const SceneCamera& camera,
                         const Imath::M44f& worldToView, float aspect) const {
  VertexLighting lighting;
  lighting.SetLights(lights, 0);
  lighting.SetMaterial(WhiteSurface());
  double light = 0, area = 0;
  for (const Sample& sample : m_samples) {
    const SceneMesh& mesh = MeshOf(scene, sample.instance);
    const Imath::M44f toView = scene.instances[sample.instance].toWorld * worldToView;
    V3f corners[3];
    for (std::size_t k = 0; k < 3; ++k) {
      corners[k] = mesh.positions[mesh.triangles[sample.triangle + k]] * toView;
    }
    const V3f middle = (corners[0] + corners[1] + corners[2]) / 3;
    if (!IsInFrame(middle, camera, aspect)) continue;
    V3f normal = (corners[1] - corners[0]).cross(corners[2] - corners[0]);
    const V3f toEye = camera.parallelHeight > 0 ? V3f(0, 0, 1) : -middle.normalized();
    if (normal.dot(toEye) < 0) normal = -normal;  // surfaces are lit on the viewer's side
    const float shown = normal.dot(toEye);
    if (!(shown > 0) || !std::isfinite(shown)) continue;
    const ColorBuf lit = lighting.Light(middle, normal.normalized(), {255, 255, 255, 255});
    light += static_cast<double>(shown) * std::max({lit.red, lit.green, lit.blue}) / 255;
    area += shown;
  }
  return area > 0 ? static_cast<float>(light / area) : 1;
}

}  // namespace hostkit
