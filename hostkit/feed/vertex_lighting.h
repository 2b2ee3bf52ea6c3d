// Lit colours on the processor, for meshes whose vertices bring colours along.
#pragma once

#include <Imath/ImathVec.h>

#include <vector>

#include "host/AttrProperty.h"
#include "host/Colors.h"
#include "host/Lights.h"

namespace hostkit {

/// Lights vertices as OpenGL's fixed pipeline does with the renderer's materials and lights
/// (Gouraud, Blinn highlights, ambient), the base colour multiplied by the vertex's own. The
/// renderer's lit triangles take one colour a material, and its pre-coloured ones are not lit.
class VertexLighting {
 public:
  /// `lights` as given to the display list: null is the headlight. `ambientAmount` is that of the
  /// scene record.
  void SetLights(const LightListNode* lights, float ambientAmount);
  /// `emission` is added to what light shows. An unlit material is seen in its base colour alone.
  void SetMaterial(const AttrProperty& material, bool isUnlit = false,
                   const Imath::V3f& emission = Imath::V3f(0));

  /// The colour of a vertex in view space; `normal` has unit length and points to the viewer's
  /// side. Alpha is the vertex's times the material's.
  ColorBuf Light(const Imath::V3f& position, const Imath::V3f& normal, const ColorBuf& color) const;

 private:
  struct Source {
    Imath::V3f position{0, 0, 0};       // or the direction to the light, unit length
    Imath::V3f spotDirection{0, 0, 0};  // unit length
    Imath::V3f diffuse{0, 0, 0}, specular{0, 0, 0};
    bool directional = true;
    bool spot = false;
    float spotCosine = -1, spotExponent = 0;
    float constant = 1, quadratic = 0;
  };

  static Source MakeSource(const GALight& light);
  static Source Headlight();
  static float Falloff(const Source& source, float distance, const Imath::V3f& toLight);

  std::vector<Source> m_sources;
  bool m_localViewer = false;  // the headlight's highlights are computed for a viewer far away
  float m_ambientAmount = 0;
  Imath::V3f m_base, m_ambient, m_specular;
  bool m_ambientFromBase = false;
  bool m_specularFromBase = false;
  float m_ambientFactor = 0, m_specularFactor = 0;
  float m_shininess = -1;  // below 0: no highlight
  bool m_isUnlit = false;
  Imath::V3f m_emission{0};
  float m_alpha = 1;
};

}  // namespace hostkit
