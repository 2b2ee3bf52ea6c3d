// Lit colours on the processor, for meshes whose vertices bring colours along.
#include "hostkit/feed/vertex_lighting.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

#include "host/Animation.h"
#include "host/Vectors.h"
#include "hostkit/feed/light_sets.h"
#include "hostkit/feed/vector_parts.h"
#include "hostkit/services/pixel_values.h"

namespace hostkit {
namespace {

using Imath::V3f;

// The renderer's numbers of shine.
constexpr float kShine = 45, kMaxShininess = 128;

// Placement of a host light, rows of four; without the translation for directions.
V3f Place(const float* m, const Vector& v, float w) {
  return {m[0] * v.x + m[1] * v.y + m[2] * v.z + m[3] * w,
          m[4] * v.x + m[5] * v.y + m[6] * v.z + m[7] * w,
          m[8] * v.x + m[9] * v.y + m[10] * v.z + m[11] * w};
}

}  // namespace

VertexLighting::Source VertexLighting::Headlight() {
  Source source;
  source.position = V3f(0, 0, 1);
  source.diffuse = source.specular = V3f(1);
  return source;
}

VertexLighting::Source VertexLighting::MakeSource(const GALight& light) {
  Source source;
  V3f color = V3f(light.red, light.green, light.blue) * light.intensity;
  source.diffuse = light.diffuseOn ? color : V3f(0);
  source.specular = light.specularOn ? color : V3f(0);
  Vector ray = {light.target.x - light.position.x, light.target.y - light.position.y,
                light.target.z - light.position.z};
  source.spotDirection = Place(light.placement, ray, 0).normalized();
  source.directional = light.type == GALight::kDirectional;
  if (source.directional) {
    source.position = -source.spotDirection;
    return source;
  }
  source.position = Place(light.placement, light.position, 1);
  source.constant = GALight::kConstantAttenuation;
  source.quadratic = GALight::kQuadraticAttenuation / (light.range * light.range);
  source.spot = light.type == GALight::kSpot;
  source.spotCosine =
      std::cos(std::clamp(light.coneAngle, 0.0f, 90.0f) * std::numbers::pi_v<float> / 180);
  source.spotExponent = light.coneSoftness / 10 * 128;
  return source;
}

void VertexLighting::SetLights(const LightListNode* lights, float ambientAmount) {
  m_sources.clear();
  m_ambientAmount = ambientAmount;
  m_localViewer = lights != nullptr;
  if (!lights) m_sources.push_back(Headlight());
  for (; lights && m_sources.size() < kMaxLights; lights = lights->next) {
    if (lights->light && lights->light->Shines()) m_sources.push_back(MakeSource(*lights->light));
  }
}

void VertexLighting::SetMaterial(const AttrProperty& material, bool isUnlit, const V3f& emission) {
  m_isUnlit = isUnlit;
  m_emission = emission;
  m_base = ColorOf(material.base);
  m_ambientFromBase = material.ambientSource & AttrProperty::kFromBaseColor;
  m_ambient = ColorOf(material.ambient);
  m_ambientFactor = std::trunc(material.ambientFactor.Current());  // as the renderer: whole numbers
  m_specularFromBase = material.specularSource & AttrProperty::kFromBaseColor;
  m_specular = ColorOf(material.specular);
  m_specularFactor = material.specularFactor.Current();
  float roughness = material.roughness.Current();
  m_shininess = roughness != 0 ? std::min(kShine / roughness, kMaxShininess) : -1;
  m_alpha = 1 - material.transparency.Current();
}

float VertexLighting::Falloff(const Source& source, float distance, const V3f& toLight) {
  float falloff = 1 / (source.constant + source.quadratic * distance * distance);
  if (!source.spot) return falloff;
  float cosine = -toLight.dot(source.spotDirection);
  if (cosine < source.spotCosine || cosine <= 0) return 0;
  return falloff * std::pow(cosine, source.spotExponent);
}

ColorBuf VertexLighting::Light(const V3f& position, const V3f& normal,
                               const ColorBuf& color) const {
  V3f base = Product(m_base, V3f(color.red, color.green, color.blue) / 255.0f);
  const unsigned char alpha = ToByte(color.alpha / 255.0f * m_alpha);
  if (m_isUnlit) return {ToByte(base.x), ToByte(base.y), ToByte(base.z), alpha};
  V3f ambient = (m_ambientFromBase ? base : m_ambient) * m_ambientFactor;
  float brightness = ambient.dot(V3f(0.3f, 0.59f, 0.11f));
  ambient += base * ((1 - brightness) * m_ambientAmount);
  V3f diffuse = Product(base, V3f(1) - ambient);
  V3f specular = (m_specularFromBase ? base : m_specular) * m_specularFactor;
  V3f toViewer = m_localViewer ? (-position).normalized() : V3f(0, 0, 1);

  V3f sum = ambient + m_emission, highlight(0);
  for (const Source& source : m_sources) {
    V3f toLight = source.directional ? source.position : source.position - position;
    float distance = source.directional ? 0 : toLight.length();
    if (distance > 0) toLight /= distance;
    float facing = normal.dot(toLight);
    if (facing <= 0) continue;
    float falloff = source.directional ? 1 : Falloff(source, distance, toLight);
    sum += Product(diffuse, source.diffuse) * (facing * falloff);
    if (m_shininess < 0) continue;
    float shine = std::max(normal.dot((toLight + toViewer).normalized()), 0.0f);
    highlight += Product(specular, source.specular) * (std::pow(shine, m_shininess) * falloff);
  }
  sum += highlight;
  return {ToByte(sum.x), ToByte(sum.y), ToByte(sum.z), alpha};
}

}  // namespace hostkit
