// Lights and cameras of files, brought to what the renderer's can do.
#include "hostkit/import/import_views.h"

#include <algorithm>
#include <cmath>

namespace hostkit {

float RangeFor(float distance) {
  return distance / 0.73f;
}

float ConeSoftness(float inner, float outer) {
  if (!(inner < outer) || outer > 1.55f) return 0;
  // OpenGL's exponent, 12.8 a unit of softness, acts on the whole cone.
  const float exponentToEdge = std::log(0.05f) / std::log(std::cos(outer));
  return std::clamp(exponentToEdge * (1 - inner / outer) / 12.8f, 0.0f, 10.0f);
}

void Expose(bool isPhysical, std::vector<SceneLight>& lights) {
  if (lights.empty()) return;
  constexpr float kMostTogether = 1.8f;
  float brightest = 0, sum = 0;
  for (const SceneLight& light : lights) {
    brightest = std::max(brightest, light.intensity);
    sum += light.intensity;
  }
  float scale = std::min(1 / brightest, kMostTogether / sum);
  if (!isPhysical) scale = std::min(scale, 1.0f);
  for (SceneLight& light : lights) light.intensity *= scale;
}

Imath::V3f UpFor(const Imath::V3f& forward) {
  return std::abs(forward.y) < 0.9f ? Imath::V3f(0, 1, 0) : Imath::V3f(0, 0, -1);
}

}  // namespace hostkit
