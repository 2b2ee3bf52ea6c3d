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
#include "hostkit/import/surface_colors.h"
#include "hostkit/pictures/picture_guards.h"
#include "hostkit/pictures/picture_in.h"

namespace hostkit {
namespace {

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

 private:
  const aiMaterial& m_material;
};

Rgb ToRgb(const std::optional<aiColor4D>& color, const Rgb& fallback) {
  return color ? Rgb{color->r, color->g, color->b} : fallback;
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

/// COLLADA's shading models that are no Phong.
enum class ColladaShading {
  kNone,      ///< Another one, or another format.
  kConstant,  ///< Emission alone, without light.
  kLambert,   ///< Without a highlight, though the library makes up one.
};

ColladaShading ShadingOf(const ImportContext& context, const aiMaterial& material) {
  int mode = 0;
  if (!context.collada || material.Get(AI_MATKEY_SHADING_MODEL, mode) != aiReturn_SUCCESS) {
    return ColladaShading::kNone;
  }
  if (mode == aiShadingMode_NoShading) return ColladaShading::kConstant;
  return mode == aiShadingMode_Gouraud ? ColladaShading::kLambert : ColladaShading::kNone;
}

void SetGivenPhong(const Properties& properties, const Rgb& base, AttrProperty& surface) {
  const Rgb specular = ToRgb(properties.Color(AI_MATKEY_COLOR_SPECULAR), {});
  SetPhong(surface, {base.red, base.green, base.blue},
           {specular.red, specular.green, specular.blue},
           properties.Number(AI_MATKEY_SHININESS_STRENGTH).value_or(1),
           properties.Number(AI_MATKEY_SHININESS).value_or(0));
}

float Transparency(const Properties& properties) {
  const float opacity = Unit(properties.Number(AI_MATKEY_OPACITY).value_or(1));
  // What could not be seen at all is taken for opaque. OBJ's "Tr" and "d", COLLADA's A_ONE and
  // RGB_ZERO are opposites that a writer may confuse.
  return opacity <= 0 ? 0 : 1 - opacity;
}

Rgb BaseColor(const Properties& properties, bool hasPicture, ColladaShading shading) {
  const Rgb emissive = ToRgb(properties.Color(AI_MATKEY_COLOR_EMISSIVE), {});
  Rgb base = ToRgb(properties.Color(AI_MATKEY_COLOR_DIFFUSE), {0.8f, 0.8f, 0.8f});
  base = ToRgb(properties.Color(AI_MATKEY_BASE_COLOR), base);
  if (shading == ColladaShading::kConstant) base = emissive;
  // A black surface that glows: the glow is the colour it is seen in.
  if (!hasPicture && base.Largest() < 0.05f && emissive.Largest() > base.Largest()) base = emissive;
  // A picture on black counts for itself.
  if (hasPicture && base.Largest() <= 0) return {1, 1, 1};
  return base;
}

/// The property that holds a material's base colour picture, aiTextureType_NONE when it has none.
aiTextureType BaseTextureType(const aiMaterial& material, ColladaShading shading) {
  if (shading == ColladaShading::kConstant) {
    return material.GetTextureCount(aiTextureType_EMISSIVE) > 0 ? aiTextureType_EMISSIVE
                                                                : aiTextureType_NONE;
  }
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

/// Texture placement: turned about the image's middle, scaled, moved, with v
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

int BasePicture(const ImportContext& context, const aiMaterial& material, ColladaShading shading,
                PictureStore& pictures, MaterialTraits& traits) {
  const aiTextureType type = BaseTextureType(material, shading);
  if (type == aiTextureType_NONE) return -1;
  aiString path;
  unsigned channel = 0;
  aiTextureMapMode modes[3] = {aiTextureMapMode_Wrap, aiTextureMapMode_Wrap, aiTextureMapMode_Wrap};
  material.GetTexture(type, 0, &path, nullptr, &channel, nullptr, nullptr, modes);
  if (path.length == 0) return -1;
  traits.uvChannel = static_cast<int>(channel);
  aiUVTransform transform;
  if (material.Get(AI_MATKEY_UVTRANSFORM(type, 0), transform) == aiReturn_SUCCESS) {
    traits.uvTransform = UvTransform(transform);
  }
  PictureUse use;
  use.wrapU = WrapOf(modes[0]);
  use.wrapV = WrapOf(modes[1]);
  if (context.collada) {
    const ColladaFacts::Wraps wraps = context.collada->WrapsOf(material.GetName().C_Str());
    use.wrapU = wraps[0];
    use.wrapV = wraps[1];
  }
  return PictureIndex(context, path.C_Str(), use, pictures);
}

/// Whether a material says no more than that there is none. The import library makes such ones for
/// files without materials, in a grey that depends on the format, and black ones where it does not
/// understand their colours.
bool IsUnspecific(const SceneMaterial& material, const Rgb& base) {
  constexpr float kGreys[] = {0, 0.3f, 0.6f, 0.8f, 0.9f, 1};
  constexpr const char* kOf3ds = "%%%DEFAULT";
  const auto isBase = [&base](float grey) {
    return base.red == grey && base.green == grey && base.blue == grey;
  };
  return (material.name.empty() || material.name == AI_DEFAULT_MATERIAL_NAME ||
          material.name == kOf3ds) &&
         material.surface.transparency.Current() == 0 &&
         std::any_of(std::begin(kGreys), std::end(kGreys), isBase);
}

SceneMaterial ImportMaterial(const ImportContext& context, const aiMaterial& source,
                             PictureStore& pictures, MaterialTraits& traits) {
  const Properties properties(source);
  SceneMaterial material;
  material.name = source.GetName().C_Str();
  const ColladaShading shading = ShadingOf(context, source);
  material.image = BasePicture(context, source, shading, pictures, traits);
  const Rgb base = BaseColor(properties, material.image >= 0, shading);
  const bool isPhysical = properties.Number(AI_MATKEY_METALLIC_FACTOR) ||
                          properties.Number(AI_MATKEY_ROUGHNESS_FACTOR) ||
                          properties.Number(AI_MATKEY_GLOSSINESS_FACTOR);
  AttrProperty& surface = material.surface;
  if (isPhysical) {
    SetPhysical(properties, source, base, surface);
  } else {
    SetGivenPhong(properties, base, surface);
  }
  if (shading != ColladaShading::kNone) surface.roughness = surface.specularFactor = 0.0f;
  material.isUnlit = shading == ColladaShading::kConstant;
  surface.transparency = Transparency(properties);
  traits.isStandIn = material.image < 0 && IsUnspecific(material, base);
  return traits.isStandIn ? StandInMaterial() : material;
}

}  // namespace

std::vector<MaterialTraits> ImportMaterials(const ImportContext& context, PictureStore& pictures) {
  const aiScene& source = *context.source;
  std::vector<MaterialTraits> traits(source.mNumMaterials);
  context.scene->materials.reserve(source.mNumMaterials);
  for (unsigned i = 0; i < source.mNumMaterials; ++i) {
    context.scene->materials.push_back(
        ImportMaterial(context, *source.mMaterials[i], pictures, traits[i]));
  }
  return traits;
}

}  // namespace hostkit
