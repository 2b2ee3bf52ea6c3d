// Surface materials that look as a scene's materials say.
#include "hostkit/feed/surface_looks.h"

#include <cmath>

#include "host/Animation.h"
#include "hostkit/feed/vector_parts.h"

namespace hostkit {
namespace {

using Imath::V3f;

AnimatableColor ToColor(const V3f& color) {
  return {AnimatableValue(color.x), AnimatableValue(color.y), AnimatableValue(color.z)};
}

// The weights with which the renderer tells how bright a material's own ambient light is.
float Luma(const V3f& color) {
  return color.dot(V3f(0.3f, 0.59f, 0.11f));
}

V3f AmbientColor(const AttrProperty& surface) {
  const bool isBase = surface.ambientSource & AttrProperty::kFromBaseColor;
  const V3f own = ColorOf(isBase ? surface.base : surface.ambient) *
                  std::trunc(surface.ambientFactor.Current());
  return own + ColorOf(surface.base) * ((1 - Luma(own)) * kAmbientAmount);
}

// Puts ambient and diffuse light into a material: base x (1 - ambient) is what the renderer takes
// for diffuse, and the ambient light is the material's own, and base x (1 - its luma) x the
// amount. False where these equations have no answer.
bool SetLight(const V3f& ambient, const V3f& diffuse, AttrProperty* surface) {
  constexpr float kLeast = 0.01f;  // what is divided by
  V3f base;
  for (int c = 0; c < 3; ++c) {
    if (std::abs(1 - ambient[c]) < kLeast) return false;
    base[c] = diffuse[c] / (1 - ambient[c]);
  }
  const float share = Luma(base) * kAmbientAmount;
  if (std::abs(1 - share) < kLeast) return false;
  const float ownLuma = (Luma(ambient) - share) / (1 - share);
  surface->base = ToColor(base);
  surface->ambientSource = 0;
  surface->ambient = ToColor(ambient - base * ((1 - ownLuma) * kAmbientAmount));
  surface->ambientFactor = AnimatableValue(1.0f);
  return true;
}

}  // namespace

V3f BaseColor(const AttrProperty& surface) {
  return ColorOf(surface.base);
}

AttrProperty TintedSurface(const AttrProperty& surface, const ColorBuf& color) {
  AttrProperty tinted = surface;
  tinted.base =
      ToColor(Product(BaseColor(surface), V3f(color.red, color.green, color.blue) / 255.0f));
  const float alpha = (1 - surface.transparency.Current()) * color.alpha / 255;
  tinted.transparency = AnimatableValue(1 - alpha);
  return tinted;
}

AttrProperty UnlitSurface(const V3f& color, float alpha) {
  AttrProperty unlit;
  unlit.ambient = ToColor(color);
  unlit.ambientFactor = AnimatableValue(1.0f);
  unlit.transparency = AnimatableValue(1 - alpha);
  return unlit;
}

AttrProperty GlowingSurface(const AttrProperty& surface, V3f emission) {
  AttrProperty glowing = surface;
  const V3f ambient = AmbientColor(surface);
  const V3f base = BaseColor(surface), diffuse = Product(base, V3f(1) - ambient);
  if (surface.specularSource & AttrProperty::kFromBaseColor) {
    glowing.specularSource = 0;
    glowing.specular = surface.base;
  }
  // Steps by which nobody sees the difference lead away from where there is no answer.
  constexpr V3f kStep(0.004f, 0.003f, 0.005f);
  for (int i = 0; i < 8 && !SetLight(ambient + emission, diffuse, &glowing); ++i) {
    emission += kStep;
  }
  return glowing;
}

}  // namespace hostkit
