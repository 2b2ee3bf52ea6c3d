// Other surfaces than a model's own.
#include "hostkit/scene/look_override.h"

#include <algorithm>

namespace hostkit {
namespace {

using Imath::V3f;

enum class Highlight : std::uint8_t { kFile, kNone, kBright };

/// A look's part in a material.
struct LookRow {
  MaterialLook look;
  std::optional<V3f> color;  // in place of the material's, and then it is opaque
  Highlight highlight;
  std::optional<bool> isUnlit;
};

constexpr V3f kClayGrey(0.78f, 0.77f, 0.75f);
const LookRow kLooks[] = {
    {MaterialLook::kFile, {}, Highlight::kFile, {}},
    {MaterialLook::kClay, kClayGrey, Highlight::kNone, false},
    {MaterialLook::kMatte, {}, Highlight::kNone, false},
    {MaterialLook::kShiny, {}, Highlight::kBright, false},
    {MaterialLook::kUnlit, {}, Highlight::kNone, true},
};

AnimatableColor ToColor(const V3f& color) {
  return {AnimatableValue(color.x), AnimatableValue(color.y), AnimatableValue(color.z)};
}

void SetHighlightOf(Highlight highlight, AttrProperty& surface) {
  constexpr float kBrightFactor = 0.8f, kBrightRoughness = 45.0f / 80;  // an exponent of 80
  if (highlight == Highlight::kFile) return;
  const bool isBright = highlight == Highlight::kBright;
  surface.specularSource = 0;
  surface.specular = ToColor(V3f(1));
  surface.specularFactor = AnimatableValue(isBright ? kBrightFactor : 0.0f);
  surface.roughness = AnimatableValue(isBright ? kBrightRoughness : 0.0f);
}

/// Only that colour, of material and light alike.
void Recolor(const V3f& color, SceneMaterial& material) {
  material.image = material.emissionImage = -1;
  material.alphaCutoff = 0;
  std::fill_n(material.emission, 3, 0.0f);
  material.surface.base = ToColor(color);
  material.surface.ambientSource = 0;
  material.surface.ambientFactor = AnimatableValue(0.0f);
}

}  // namespace

void OverrideLook(const LookOverride& look, Scene& scene) {
  const LookRow& row = *std::find_if(std::begin(kLooks), std::end(kLooks),
                                     [&](const LookRow& r) { return r.look == look.look; });
  const std::optional<V3f>& own = look.color ? look.color : row.color;
  const V3f* const color = own ? &*own : nullptr;
  for (SceneMaterial& material : scene.materials) {
    SetHighlightOf(row.highlight, material.surface);
    if (row.isUnlit) material.isUnlit = *row.isUnlit;
    if (row.isUnlit.value_or(false)) {
      std::fill_n(material.emission, 3, 0.0f);
      material.emissionImage = -1;
    }
    if (row.color) material.surface.transparency = AnimatableValue(0.0f);
    if (color) Recolor(*color, material);
  }
  if (!color) return;
  for (SceneMesh& mesh : scene.meshes) {
    mesh.colors.clear();
    mesh.colorsHaveAlpha = false;
  }
}

}  // namespace hostkit
