// Colours and surfaces of files into the Phong model that the renderer lights with.
#include "hostkit/import/surface_colors.h"

#include "hostkit/services/pixel_values.h"

namespace hostkit {

float DisplayFromLinear(float linear) {
  return EncodeSrgb(Unit(linear));
}

Rgb DisplayColor(const Rgb& linear) {
  return {DisplayFromLinear(linear.red), DisplayFromLinear(linear.green),
          DisplayFromLinear(linear.blue)};
}

AnimatableColor ToColor(const Rgb& color) {
  return {Unit(color.red), Unit(color.green), Unit(color.blue)};
}

void SetHighlight(AttrProperty& surface, const Rgb& color, float strength, float exponent) {
  const bool visible = exponent > 0.5f && strength > 0 && color.Largest() > 0;
  surface.specular = ToColor(color);
  surface.specularFactor = visible ? Unit(strength) : 0.0f;
  surface.roughness = visible ? 45.0f / exponent : 0.0f;
}

void SetMetalRough(AttrProperty& surface, const Rgb& base, float metallic, float roughness) {
  const float gloss = 1 - roughness;
  const float width = std::max(roughness * roughness, 0.02f);
  surface.base = ToColor(Scaled(base, 1 - 0.35f * metallic * gloss));
  const Rgb tint = Mixed({1, 1, 1}, Mixed(base, {1, 1, 1}, 0.25f), metallic);
  const float strength = std::lerp(0.08f + 0.5f * gloss, 0.3f + 0.7f * gloss, metallic);
  SetHighlight(surface, tint, strength, 2 / (width * width) - 2);
}

void SetPhong(AttrProperty& surface, const Imath::V3f& base, const Imath::V3f& specular,
              float strength, float exponent) {
  surface.base = ToColor({base.x, base.y, base.z});
  SetHighlight(surface, {specular.x, specular.y, specular.z}, strength,
               exponent <= 1 ? exponent * 128 : exponent);
}

SceneMaterial StandInMaterial() {
  SceneMaterial material;
  material.name = "default";
  material.surface.base = ToColor({0.8f, 0.8f, 0.8f});
  SetHighlight(material.surface, {1, 1, 1}, 0.2f, 30);
  return material;
}

SceneMaterial ColorsOnlyMaterial() {
  SceneMaterial material = StandInMaterial();
  material.name = "vertex colours";
  material.surface.base = {1, 1, 1};
  return material;
}

}  // namespace hostkit
