// Colours and surfaces of files into the Phong model that the renderer lights with.
#pragma once

#include <Imath/ImathVec.h>

#include <algorithm>
#include <cmath>

#include "host/AttrProperty.h"
#include "hostkit/scene/scene.h"

namespace hostkit {

struct Rgb {
  float red = 0, green = 0, blue = 0;

  float Largest() const { return std::max({red, green, blue}); }
};

inline Rgb Scaled(const Rgb& color, float factor) {
  return {color.red * factor, color.green * factor, color.blue * factor};
}

inline Rgb Mixed(const Rgb& a, const Rgb& b, float t) {
  return {std::lerp(a.red, b.red, t), std::lerp(a.green, b.green, t), std::lerp(a.blue, b.blue, t)};
}

/// 0 to 1; NaN becomes 0.
inline float Unit(float value) {
  return value > 0 ? std::min(value, 1.0f) : 0.0f;
}

/// Linear light to display-referred (sRGB), 0 to 1.
float DisplayFromLinear(float linear);
Rgb DisplayColor(const Rgb& linear);

AnimatableColor ToColor(const Rgb& color);

/// A highlight by its Phong exponent and strength. The renderer turns roughness r into the
/// exponent 45 / r, at most 128, and takes 0 for no highlight at all.
void SetHighlight(AttrProperty& surface, const Rgb& color, float strength, float exponent);

/// A surface of a display-referred colour by metalness and roughness, 0 to 1. Metals reflect their
/// surroundings, of which there are none here: most of the colour stays in the diffuse part, all
/// the more the rougher the metal is, and the highlight takes the rest.
void SetMetalRough(AttrProperty& surface, const Rgb& base, float metallic, float roughness);

/// A surface of the Phong model, without transparency. Colours are display-referred; `strength` is
/// a factor of the highlight's colour. An exponent that is no larger than 1 is taken for a share of
/// 128, and 0 means no highlight.
void SetPhong(AttrProperty& surface, const Imath::V3f& base, const Imath::V3f& specular,
              float strength, float exponent);

/// A light grey for meshes of files that have no materials.
SceneMaterial StandInMaterial();

/// The same in white, for vertex colours that stand for themselves.
SceneMaterial ColorsOnlyMaterial();

}  // namespace hostkit
