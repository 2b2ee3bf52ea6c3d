// Materials of a glTF file.
#include "hostkit/import/gltf/gltf_materials.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>
#include <vector>

#include "hostkit/import/surface_colors.h"

namespace hostkit::gltf {
namespace {

enum class AlphaMode { kOpaque, kMask, kBlend };

float CutoffOf(Json json) {
  return std::max(NumberOf(json, "alphaCutoff", 0.5f), 0.0f);
}

/// A mask that nothing can lie below is none.
AlphaMode AlphaModeOf(Json json) {
  const std::string mode = TextOf(json, "alphaMode");
  if (mode == "BLEND") return AlphaMode::kBlend;
  return mode == "MASK" && CutoffOf(json) > 0 ? AlphaMode::kMask : AlphaMode::kOpaque;
}

/// A linear colour with alpha.
struct Factor {
  Rgb color;
  float alpha = 1;
};

Factor FactorOf(Json json, const char* key) {
  const std::array<double, 4> numbers = NumbersOf<4>(json, key, {1, 1, 1, 1});
  return {{ToFloat(numbers[0]), ToFloat(numbers[1]), ToFloat(numbers[2])}, ToFloat(numbers[3])};
}

Rgb ColorOf(Json json, const char* key, double fallback) {
  const std::array<double, 3> numbers = NumbersOf<3>(json, key, {fallback, fallback, fallback});
  return {ToFloat(numbers[0]), ToFloat(numbers[1]), ToFloat(numbers[2])};
}

bool HasTexture(Json json, const char* key) {
  return Member(json, key).IsObject();
}

/// The surface by metalness and roughness. With a map the factors only scale it: it is not looked
/// at, and stands for middling values.
void SetMetallic(Json physical, const Rgb& base, AttrProperty& surface) {
  float metallic = Unit(NumberOf(physical, "metallicFactor", 1));
  float roughness = Unit(NumberOf(physical, "roughnessFactor", 1));
  if (HasTexture(physical, "metallicRoughnessTexture")) {
    metallic *= 0.5f;
    roughness *= 0.6f;
  }
  SetMetalRough(surface, base, metallic, roughness);
}

/// The same by specular colour and glossiness. Metals then have a black diffuse colour and carry
/// their own in the specular one.
void SetSpecularGlossy(Json glossy, const Rgb& base, AttrProperty& surface) {
  const Rgb specular = ColorOf(glossy, "specularFactor", 1);
  const bool hasMap = HasTexture(glossy, "specularGlossinessTexture");
  const float gloss = Unit(NumberOf(glossy, "glossinessFactor", 1)) * (hasMap ? 0.5f : 1);
  const float metal = hasMap ? 0 : Unit((specular.Largest() - base.Largest()) * 2);
  SetMetalRough(surface, Mixed(base, DisplayColor(specular), metal), metal, 1 - gloss);
}

void SetUnlit(const Rgb& base, SceneMaterial& material) {
  material.isUnlit = true;
  material.surface.base = ToColor(base);
  SetHighlight(material.surface, {}, 0, 0);
}

/// Alpha of the factor, and what the mode makes of the product with those of picture and vertex.
void SetAlpha(Json json, AlphaMode mode, float alpha, SceneMaterial& material) {
  const Json transmission = Extension(json, "KHR_materials_transmission");
  // It tints what is behind; blending can only thin the surface, which must stay seen.
  const float clear = 0.75f * Unit(NumberOf(transmission, "transmissionFactor", 0));
  const float missing = mode == AlphaMode::kOpaque ? 0 : 1 - Unit(alpha);
  material.surface.transparency = mode == AlphaMode::kMask ? missing : std::max(missing, clear);
  if (mode == AlphaMode::kMask) material.alphaCutoff = CutoffOf(json);
}

AlphaUse AlphaUseOf(AlphaMode mode) {
  return mode == AlphaMode::kOpaque ? AlphaUse::kIgnore : AlphaUse::kExact;
}

}  // namespace

const MaterialUse& Materials::Get(int index) {
  if (m_document.Item("materials", index).IsNull()) index = -1;
  const auto [entry, isNew] = m_made.try_emplace(index);
  if (isNew) entry->second = Make(m_document.Item("materials", index), index);
  return entry->second;
}

MaterialUse Materials::Make(Json json, int index) {
  const Json physical = Member(json, "pbrMetallicRoughness");
  const Json glossy = Extension(json, "KHR_materials_pbrSpecularGlossiness");
  const bool isGlossy = glossy.IsObject();
  const AlphaMode mode = AlphaModeOf(json);
  const Factor factor =
      isGlossy ? FactorOf(glossy, "diffuseFactor") : FactorOf(physical, "baseColorFactor");
  const Texture base =
      TextureOf(isGlossy ? Member(glossy, "diffuseTexture") : Member(physical, "baseColorTexture"),
                AlphaUseOf(mode));
  SceneMaterial material;
  material.name = index < 0 ? "default" : TextOf(json, "name");
  material.image = base.image;
  material.showsBacks = FlagOf(json, "doubleSided");
  MaterialUse use;
  use.uvSet = base.uvSet;
  use.uvTransform = base.transform;
  use.usesVertexAlpha = mode != AlphaMode::kOpaque;
  const Rgb color = DisplayColor(factor.color);
  if (Extension(json, "KHR_materials_unlit").IsObject()) {
    SetUnlit(color, material);
  } else {
    if (isGlossy) {
      SetSpecularGlossy(glossy, color, material.surface);
    } else {
      SetMetallic(physical, color, material.surface);
    }
    SetEmission(json, base, use, material);
  }
  SetAlpha(json, mode, factor.alpha, material);
  std::vector<SceneMaterial>& materials = m_document.Source().scene.materials;
  use.material = static_cast<int>(materials.size());
  materials.push_back(std::move(material));
  return use;
}

void Materials::SetEmission(Json json, const Texture& base, MaterialUse& use,
                            SceneMaterial& material) {
  const float strength = std::max(
      NumberOf(Extension(json, "KHR_materials_emissive_strength"), "emissiveStrength", 1), 0.0f);
  const Rgb light = DisplayColor(Scaled(ColorOf(json, "emissiveFactor", 0), strength));
  if (!(light.Largest() > 0)) return;
  const Texture texture = TextureOf(Member(json, "emissiveTexture"), AlphaUse::kIgnore);
  if (texture.isThere && texture.image < 0) return;  // a map that is missing is taken for black
  const bool isPlacedAlike = !base.isThere || base.image < 0 ||
                             (base.uvSet == texture.uvSet && base.transform == texture.transform);
  if (texture.isThere && !isPlacedAlike) {
    m_document.Note("emission is left out where its picture lies otherwise than the base colour's",
                    material.name);
    return;
  }
  if (texture.isThere) {
    use.uvSet = texture.uvSet;
    use.uvTransform = texture.transform;
  }
  const float parts[] = {light.red, light.green, light.blue};
  std::copy(std::begin(parts), std::end(parts), material.emission);
  material.emissionImage = texture.image;
}

}  // namespace hostkit::gltf
