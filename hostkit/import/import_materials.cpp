// Materials of model files into the host's surface records.
//
// The renderer lights vertices by the Phong model of fixed-function OpenGL. Shading models richer
// than that are brought down to it so that a surface keeps its colour and the kind of its
// highlight; what cannot be kept (maps of roughness, normals, reflections) is left out.
#include "hostkit/import/import_materials.h"

#include <Imath/ImathVec.h>
#include <assimp/GltfMaterial.h>
#include <assimp/scene.h>
#include <assimp/texture.h>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/import/import_pictures.h"
#include "hostkit/pictures/picture_guards.h"
#include "hostkit/pictures/picture_in.h"
#include "hostkit/services/pixel_values.h"

namespace hostkit {
namespace {

struct Rgb {
  float red = 0, green = 0, blue = 0;

  float Largest() const { return std::max({red, green, blue}); }
};

Rgb Scaled(const Rgb& color, float factor) {
  return {color.red * factor, color.green * factor, color.blue * factor};
}

Rgb Mixed(const Rgb& a, const Rgb& b, float t) {
  return {std::lerp(a.red, b.red, t), std::lerp(a.green, b.green, t), std::lerp(a.blue, b.blue, t)};
}

/// 0 to 1; NaN becomes 0.
float Unit(float value) {
  return value > 0 ? std::min(value, 1.0f) : 0.0f;
}

AnimatableColor ToColor(const Rgb& color) {
  return {Unit(color.red), Unit(color.green), Unit(color.blue)};
}

/// The properties of a material in the importer's own words.
class Properties {
 public:
  explicit Properties(const aiMaterial& material) : m_material(material) {}

  std::optional<float> Number(const char* key, unsigned type, unsigned index) const {
    ai_real value = 0;
    if (m_material.Get(key, type, index, value) != aiReturn_SUCCESS || !std::isfinite(value)) {
      return std::nullopt;
    }
    return value;
  }

  std::optional<aiColor4D> Color(const char* key, unsigned type, unsigned index) const {
    aiColor4D color;
    if (m_material.Get(key, type, index, color) != aiReturn_SUCCESS) return std::nullopt;
    return color;
  }

  std::string Text(const char* key, unsigned type, unsigned index) const {
    aiString text;
    if (m_material.Get(key, type, index, text) != aiReturn_SUCCESS) return {};
    return text.C_Str();
  }

 private:
  const aiMaterial& m_material;
};

Rgb ToRgb(const std::optional<aiColor4D>& color, const Rgb& fallback) {
  return color ? Rgb{color->r, color->g, color->b} : fallback;
}

Rgb DisplayColor(const Rgb& color) {
  return {DisplayFromLinear(color.red), DisplayFromLinear(color.green),
          DisplayFromLinear(color.blue)};
}

/// A highlight by its Phong exponent and strength. The renderer turns roughness r into the
/// exponent 45 / r, at most 128, and takes 0 for no highlight at all.
void SetHighlight(AttrProperty& surface, const Rgb& color, float strength, float exponent) {
  const bool visible = exponent > 0.5f && strength > 0 && color.Largest() > 0;
  surface.specular = ToColor(color);
  surface.specularFactor = visible ? Unit(strength) : 0.0f;
  surface.roughness = visible ? 45.0f / exponent : 0.0f;
}

/// Metals reflect their surroundings, of which there are none here: most of the colour stays in
/// the diffuse part, all the more the rougher the metal is, and the highlight takes the rest.
void SetMetalRough(AttrProperty& surface, const Rgb& base, float metallic, float roughness) {
  const float gloss = 1 - roughness;
  const float width = std::max(roughness * roughness, 0.02f);
  surface.base = ToColor(Scaled(base, 1 - 0.35f * metallic * gloss));
  const Rgb tint = Mixed({1, 1, 1}, Mixed(base, {1, 1, 1}, 0.25f), metallic);
  const float strength = std::lerp(0.08f + 0.5f * gloss, 0.3f + 0.7f * gloss, metallic);
  SetHighlight(surface, tint, strength, 2 / (width * width) - 2);
}

void SetPhysical(const Properties& properties, const aiMaterial& material, const Rgb& base,
                 AttrProperty& surface) {
  float metallic = Unit(properties.Number(AI_MATKEY_METALLIC_FACTOR).value_or(0));
  float roughness = Unit(properties.Number(AI_MATKEY_ROUGHNESS_FACTOR).value_or(1));
  // With a map the factors only scale it. It is not looked at, and stands for middling values.
  if (material.GetTextureCount(aiTextureType_METALNESS) > 0 ||
      material.GetTextureCount(aiTextureType_UNKNOWN) > 0) {
    metallic *= 0.5f;
    roughness *= 0.6f;
  }
  const auto glossiness = properties.Number(AI_MATKEY_GLOSSINESS_FACTOR);
  if (!glossiness) {
    SetMetalRough(surface, base, metallic, roughness);
    return;
  }
  const Rgb specular = ToRgb(properties.Color(AI_MATKEY_COLOR_SPECULAR), {1, 1, 1});
  // Specular-glossiness metals have a black diffuse colour and carry their own in the specular.
  const float metal = Unit((specular.Largest() - base.Largest()) * 2);
  SetMetalRough(surface, Mixed(base, DisplayColor(specular), metal), metal, Unit(1 - *glossiness));
}

void SetGivenPhong(const Properties& properties, const Rgb& base, AttrProperty& surface) {
  const Rgb specular = ToRgb(properties.Color(AI_MATKEY_COLOR_SPECULAR), {});
  SetPhong({base.red, base.green, base.blue}, {specular.red, specular.green, specular.blue},
           properties.Number(AI_MATKEY_SHININESS_STRENGTH).value_or(1),
           properties.Number(AI_MATKEY_SHININESS).value_or(0), surface);
}

/// 0 opaque to 1 invisible, of a glTF material.
float GltfTransparency(const Properties& properties, bool blends) {
  const auto base = properties.Color(AI_MATKEY_BASE_COLOR);
  const auto diffuse = properties.Color(AI_MATKEY_COLOR_DIFFUSE);
  const float alpha = base ? base->a : diffuse ? diffuse->a : 1;
  const float clear = blends ? 1 - Unit(alpha) : 0;
  // Transmission tints what is behind; blending can only thin the surface, which must stay seen.
  const float transmission = Unit(properties.Number(AI_MATKEY_TRANSMISSION_FACTOR).value_or(0));
  return std::max(clear, 0.75f * transmission);
}

float Transparency(const Properties& properties) {
  const float opacity = Unit(properties.Number(AI_MATKEY_OPACITY).value_or(1));
  // What could not be seen at all is taken for opaque. OBJ's "Tr" and "d", COLLADA's A_ONE and
  // RGB_ZERO are opposites that a writer may confuse.
  return opacity <= 0 ? 0 : 1 - opacity;
}

Rgb BaseColor(const ImportContext& context, const Properties& properties, bool hasPicture) {
  Rgb base = ToRgb(properties.Color(AI_MATKEY_COLOR_DIFFUSE), {0.8f, 0.8f, 0.8f});
  base = ToRgb(properties.Color(AI_MATKEY_BASE_COLOR), base);
  const Rgb emissive = ToRgb(properties.Color(AI_MATKEY_COLOR_EMISSIVE), {});
  // A black surface that glows: the glow is the colour it is seen in.
  if (!hasPicture && base.Largest() < 0.05f && emissive.Largest() > base.Largest()) base = emissive;
  if (context.IsGltf()) return DisplayColor(base);
  // In other formats than glTF a picture on black counts for itself.
  if (hasPicture && base.Largest() <= 0) return {1, 1, 1};
  return base;
}

PictureUse UseOfPicture(const ImportContext& context, const Properties& properties,
                        const std::string& alphaMode) {
  PictureUse use;
  if (!context.IsGltf() || alphaMode == "BLEND") return use;
  use.alpha = alphaMode == "MASK" ? AlphaUse::kMask : AlphaUse::kIgnore;
  if (use.alpha == AlphaUse::kMask) {
    use.cutoff = properties.Number(AI_MATKEY_GLTF_ALPHACUTOFF).value_or(0.5f);
  }
  return use;
}

/// The property that holds a material's base colour picture, aiTextureType_NONE when it has none.
aiTextureType BaseTextureType(const aiMaterial& material) {
  for (aiTextureType type : {aiTextureType_BASE_COLOR, aiTextureType_DIFFUSE}) {
    if (material.GetTextureCount(type) > 0) return type;
  }
  return aiTextureType_NONE;
}

PictureWrap WrapOf(aiTextureMapMode mode) {
  if (mode == aiTextureMapMode_Mirror) return PictureWrap::kMirror;
  const bool isClamped = mode == aiTextureMapMode_Clamp || mode == aiTextureMapMode_Decal;
  return isClamped ? PictureWrap::kClamp : PictureWrap::kRepeat;
}

Imath::M33f Moved(float x, float y) {
  return Imath::M33f().setTranslation(Imath::V2f(x, y));
}

/// Texture placement as KHR_texture_transform means it: scaled, turned about the image's top left
/// corner, moved. The import library folds the move into terms for its own conventions, which it
/// does not keep to itself; they are taken out again here.
Imath::M33f GltfUvTransform(const aiUVTransform& given) {
  const float c = std::cos(-given.mRotation), s = std::sin(-given.mRotation);
  const float x = given.mScaling.x, y = given.mScaling.y;
  const float moveU = given.mTranslation.x - 0.5f * x * (1 + s - c);
  const float moveV = 0.5f * y * (s + c - 1) + 1 - y - given.mTranslation.y;
  return {c * x, -s * x, 0, s * y, c * y, 0, moveU, moveV, 1};
}

/// Texture placement of other formats: turned about the image's middle, scaled, moved, with v
/// upwards.
Imath::M33f UvTransform(const aiUVTransform& given) {
  const Imath::M33f flip(1, 0, 0, 0, -1, 0, 0, 1, 1);
  const Imath::M33f turn = Imath::M33f().setRotation(given.mRotation);
  const Imath::M33f scale = Imath::M33f().setScale(Imath::V2f(given.mScaling.x, given.mScaling.y));
  const Imath::M33f move = Moved(given.mTranslation.x, given.mTranslation.y);
  return flip * Moved(-0.5f, -0.5f) * turn * Moved(0.5f, 0.5f) * scale * move * flip;
}

BitmapPtr BitmapFromTexels(const aiTexture& texture, std::uint64_t mostBytes,
                           const std::string& name, std::string* error) {
  const std::string refusal = SizeRefusal(texture.mWidth, texture.mHeight, mostBytes);
  if (!refusal.empty()) {
    *error = fmt::format("{}: {}", name, refusal);
    return nullptr;
  }
  const std::size_t count = static_cast<std::size_t>(texture.mWidth) * texture.mHeight;
  std::vector<unsigned char> rgba;
  rgba.reserve(count * 4);
  for (std::size_t i = 0; i < count; ++i) {
    const aiTexel& texel = texture.pcData[i];
    rgba.insert(rgba.end(), {texel.r, texel.g, texel.b, texel.a});
  }
  BitmapPtr bitmap = BitmapFromRgba(rgba.data(), static_cast<int>(texture.mWidth),
                                    static_cast<int>(texture.mHeight));
  if (!bitmap) *error = fmt::format("{}: no memory for the picture; scale it down", name);
  return bitmap;
}

/// The picture of that name, in the model or in a file near it.
int PictureIndex(const ImportContext& context, const std::string& reference, const PictureUse& use,
                 PictureStore& pictures) {
  const aiTexture* texture = context.source->GetEmbeddedTexture(reference.c_str());
  if (!texture || !texture->pcData) return pictures.IndexOf(reference, use);
  if (texture->mHeight == 0) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(texture->pcData);
    return pictures.IndexOfEmbedded(texture, reference, use,
                                    EncodedPicture(bytes, texture->mWidth));
  }
  const PictureLoader load = [texture](const std::string& shown, std::uint64_t mostBytes,
                                       std::string* error) {
    return BitmapFromTexels(*texture, mostBytes, shown, error);
  };
  return pictures.IndexOfEmbedded(texture, reference, use, load);
}

int BasePicture(const ImportContext& context, const aiMaterial& material, PictureUse use,
                PictureStore& pictures, MaterialTraits& traits) {
  const aiTextureType type = BaseTextureType(material);
  if (type == aiTextureType_NONE) return -1;
  aiString path;
  unsigned channel = 0;
  aiTextureMapMode modes[3] = {aiTextureMapMode_Wrap, aiTextureMapMode_Wrap, aiTextureMapMode_Wrap};
  material.GetTexture(type, 0, &path, nullptr, &channel, nullptr, nullptr, modes);
  if (path.length == 0) return -1;
  traits.uvChannel = static_cast<int>(channel);
  aiUVTransform transform;
  if (material.Get(AI_MATKEY_UVTRANSFORM(type, 0), transform) == aiReturn_SUCCESS) {
    traits.uvTransform = context.IsGltf() ? GltfUvTransform(transform) : UvTransform(transform);
  }
  use.wrapU = WrapOf(modes[0]);
  use.wrapV = WrapOf(modes[1]);
  return PictureIndex(context, path.C_Str(), use, pictures);
}

/// Whether a material says no more than that there is none. The import library makes such ones for
/// files without materials, in a grey that depends on the format, and black ones where it does not
/// understand their colours.
bool IsUnspecific(const SceneMaterial& material, const Rgb& base) {
  constexpr float kGreys[] = {0, 0.6f, 0.8f, 0.9f, 1};
  const auto isBase = [&base](float grey) {
    return base.red == grey && base.green == grey && base.blue == grey;
  };
  return (material.name.empty() || material.name == AI_DEFAULT_MATERIAL_NAME) &&
         material.surface.transparency.Current() == 0 &&
         std::any_of(std::begin(kGreys), std::end(kGreys), isBase);
}

SceneMaterial ImportMaterial(const ImportContext& context, const aiMaterial& source,
                             PictureStore& pictures, MaterialTraits& traits) {
  const Properties properties(source);
  const std::string alphaMode = properties.Text(AI_MATKEY_GLTF_ALPHAMODE);
  SceneMaterial material;
  material.name = source.GetName().C_Str();
  material.image =
      BasePicture(context, source, UseOfPicture(context, properties, alphaMode), pictures, traits);
  const Rgb base = BaseColor(context, properties, material.image >= 0);
  const bool isPhysical = properties.Number(AI_MATKEY_METALLIC_FACTOR) ||
                          properties.Number(AI_MATKEY_ROUGHNESS_FACTOR) ||
                          properties.Number(AI_MATKEY_GLOSSINESS_FACTOR);
  AttrProperty& surface = material.surface;
  if (isPhysical) {
    SetPhysical(properties, source, base, surface);
  } else {
    SetGivenPhong(properties, base, surface);
  }
  surface.transparency = context.IsGltf() ? GltfTransparency(properties, alphaMode == "BLEND")
                                          : Transparency(properties);
  traits.ignoresVertexAlpha = context.IsGltf() && alphaMode != "BLEND";
  traits.isStandIn = !context.IsGltf() && material.image < 0 && IsUnspecific(material, base);
  return traits.isStandIn ? StandInMaterial() : material;
}

}  // namespace

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

void SetPhong(const Imath::V3f& base, const Imath::V3f& specular, float strength, float exponent,
              AttrProperty& surface) {
  surface.base = ToColor({base.x, base.y, base.z});
  SetHighlight(surface, {specular.x, specular.y, specular.z}, strength,
               exponent <= 1 ? exponent * 128 : exponent);
}

float DisplayFromLinear(float linear) {
  return EncodeSrgb(Unit(linear));
}

std::vector<MaterialTraits> ImportMaterials(const ImportContext& context, const ModelFiles& files) {
  const aiScene& source = *context.source;
  std::vector<MaterialTraits> traits(source.mNumMaterials);
  PictureStore pictures(*context.scene, files);
  context.scene->materials.reserve(source.mNumMaterials);
  for (unsigned i = 0; i < source.mNumMaterials; ++i) {
    context.scene->materials.push_back(
        ImportMaterial(context, *source.mMaterials[i], pictures, traits[i]));
  }
  return traits;
}

}  // namespace hostkit
