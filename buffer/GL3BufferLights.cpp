// Host lights into GL lights. A value is sent only when the GL light does not hold it already.
#include <algorithm>

#include "buffer/GL3Buffer.h"

namespace {

constexpr float kNoCutOff = 180.0f;
constexpr float kWidestCone = 90.0f;  // the widest that GL takes beside none

/// One GL light with the record of what it holds.
class LightSetter {
 public:
  LightSetter(int number, OGL_LIGHT& loaded) : m_light(GL_LIGHT0 + number), m_loaded(loaded) {}

  void Position(float x, float y, float z, float w) {
    const float position[4] = {x, y, z, w};
    Floats<4>(GL_POSITION, position, m_loaded.position);
  }
  void Diffuse(const Vector& rgb) {
    const float color[4] = {rgb.x, rgb.y, rgb.z, 1.0f};
    Floats<3>(GL_DIFFUSE, color, m_loaded.diffuse);
  }
  void Specular(const Vector& rgb) {
    const float color[4] = {rgb.x, rgb.y, rgb.z, 1.0f};
    Floats<3>(GL_SPECULAR, color, m_loaded.specular);
  }
  void SpotDirection(const Vector& d) {
    const float direction[4] = {d.x, d.y, d.z, 0};
    Floats<3>(GL_SPOT_DIRECTION, direction, m_loaded.spotDirection);
  }
  void Cone(float cutOff, float exponent) {
    Scalar(GL_SPOT_CUTOFF, cutOff, m_loaded.cutOff);
    Scalar(GL_SPOT_EXPONENT, exponent, m_loaded.exponent);
  }
  /// Dimming with the distance over a light's range, in view units.
  void RangedAttenuation(float range) {
    Attenuation(GALight::kConstantAttenuation, GALight::kQuadraticAttenuation / (range * range));
  }
  void Attenuation(float constant, float quadratic) {
    Scalar(GL_CONSTANT_ATTENUATION, constant, m_loaded.constant);
    Scalar(GL_LINEAR_ATTENUATION, 0.0f, m_loaded.linear);
    Scalar(GL_QUADRATIC_ATTENUATION, quadratic, m_loaded.quadratic);
  }

 private:
  /// Compares and keeps `cached` floats of the four (or three) that are sent.
  template <int cached>
  void Floats(GLenum parameter, const float* value, float (&loaded)[cached]) {
    if (std::equal(loaded, loaded + cached, value)) return;
    glLightfv(m_light, parameter, value);
    std::copy_n(value, cached, loaded);
  }
  void Scalar(GLenum parameter, float value, float& loaded) {
    if (loaded == value) return;
    glLightf(m_light, parameter, value);
    loaded = value;
  }

  GLenum m_light;
  OGL_LIGHT& m_loaded;
};

/// The 3 x 3 part of a placement: turns directions.
Vector Rotate(const float* m, const Vector& v) {
  return {m[0] * v.x + m[1] * v.y + m[2] * v.z, m[4] * v.x + m[5] * v.y + m[6] * v.z,
          m[8] * v.x + m[9] * v.y + m[10] * v.z};
}

Vector Place(const float* m, const Vector& v) {
  const Vector turned = Rotate(m, v);
  return {turned.x + m[3], turned.y + m[7], turned.z + m[11]};
}

void SetHeadlight(LightSetter light) {
  light.Position(0, 0, 1, 0);
  light.Diffuse({1, 1, 1});
  light.Specular({1, 1, 1});
  light.SpotDirection({0, 0, 1});
  light.Cone(kNoCutOff, 0);
  light.Attenuation(1.0f, 0);
}

void SetLight(LightSetter setter, const GALight& light) {
  const Vector aim =
      Rotate(light.placement, {light.target.x - light.position.x, light.target.y - light.position.y,
                               light.target.z - light.position.z});
  if (light.type == GALight::kDirectional) {
    setter.Position(-aim.x, -aim.y, -aim.z, 0);
  } else {
    const Vector position = Place(light.placement, light.position);
    setter.Position(position.x, position.y, position.z, 1);
  }

  const Vector color = {light.red * light.intensity, light.green * light.intensity,
                        light.blue * light.intensity};
  setter.Diffuse(light.diffuseOn ? color : Vector());
  setter.Specular(light.specularOn ? color : Vector());

  switch (light.type) {
    case GALight::kSpot:
      setter.SpotDirection(aim);
      setter.Cone(std::clamp(light.coneAngle, 0.0f, kWidestCone), light.coneSoftness / 10 * 128);
      setter.RangedAttenuation(light.range);
      break;
    case GALight::kPoint:
      setter.Cone(kNoCutOff, 0);
      setter.RangedAttenuation(light.range);
      break;
    case GALight::kDirectional:
      setter.SpotDirection(aim);
      setter.Cone(kNoCutOff, 0);
      setter.Attenuation(1.0f, 0);
      break;
    default:  // other kinds of light have a place and a colour, and nothing more
      break;
  }
}

}  // namespace

void GL3GABuffer::SetupLights(LightListNode* list) {
  if (m_maxLights == -1) {
    glGetIntegerv(GL_MAX_LIGHTS, &m_maxLights);
    m_lights.resize(m_maxLights == -1 ? 1 : std::max(m_maxLights, 0));
    if (m_maxLights == -1) m_maxLights = 0;
  }
  if (!HasState(kLightingOn)) {
    glEnable(GL_LIGHTING);
    SetState(kLightingOn, true);
  }

  int next = 0;
  if (!list) {
    glLightModeli(GL_LIGHT_MODEL_LOCAL_VIEWER, 0);
    glEnable(GL_LIGHT0);
    if (!m_lights.empty()) SetHeadlight({0, m_lights[0]});
    next = 1;
  } else {
    glLightModeli(GL_LIGHT_MODEL_LOCAL_VIEWER, 1);
    for (; list; list = list->next) {
      if (next >= m_maxLights) return;
      if (!list->light || !list->light->Shines()) continue;
      if (!glIsEnabled(GL_LIGHT0 + next)) glEnable(GL_LIGHT0 + next);
      SetLight({next, m_lights[next]}, *list->light);
      ++next;
    }
  }
  // Lights are used without gaps: the first one that is off ends those of an earlier list.
  for (; next < m_maxLights && glIsEnabled(GL_LIGHT0 + next); ++next) glDisable(GL_LIGHT0 + next);
}
