// Host materials into GL materials, each value sent only when it differs from what is in force.
#include <algorithm>

#include "buffer/GL3Buffer.h"

namespace {

struct Rgb {
  float red = 0, green = 0, blue = 0;
};

Rgb Current(const AnimatableColor& color) {
  return {color.red.Current(), color.green.Current(), color.blue.Current()};
}

Rgb operator*(float factor, const Rgb& color) {
  return {factor * color.red, factor * color.green, factor * color.blue};
}

/// A colour, or the base colour when its source word says so.
Rgb ColorOrBase(const AttrProperty& attribute, std::uint32_t source, const AnimatableColor& color) {
  return Current(source & AttrProperty::kFromBaseColor ? attribute.base : color);
}

/// Whole part of a factor. Ambient factors count in whole steps, so that below 1 there is none of
/// the material's own ambient light. A factor that no int can hold counts as none.
float WholeFactor(float factor) {
  if (!(factor > -2147483648.0f && factor < 2147483648.0f)) return 0;
  return static_cast<float>(static_cast<int>(factor));
}

/// The material's own ambient colour with what the surroundings add to it.
Rgb AmbientColor(const AttrProperty& attribute, const RenderInfo& info) {
  const float factor = attribute.ambientFactor.Current();
  Rgb ambient;
  if (factor != 0) {
    ambient =
        WholeFactor(factor) * ColorOrBase(attribute, attribute.ambientSource, attribute.ambient);
  }
  const Rgb base = Current(attribute.base);
  const LightingEnvironment& environment = info.environment;
  if (environment.mode == LightingEnvironment::kAmbientColorMode) {
    ambient.red += environment.ambientRed * environment.ambientIntensity * base.red;
    ambient.green += environment.ambientGreen * environment.ambientIntensity * base.green;
    ambient.blue += environment.ambientBlue * environment.ambientIntensity * base.blue;
  } else if (info.scene) {
    // Luma weights of Rec. 601: the brighter the material's own ambient, the less is added.
    const float luma = 0.3f * ambient.red + 0.59f * ambient.green + 0.11f * ambient.blue;
    const float amount = info.scene->ambientAmount;
    ambient.red += base.red * (1 - luma) * amount;
    ambient.green += base.green * (1 - luma) * amount;
    ambient.blue += base.blue * (1 - luma) * amount;
  }
  return ambient;
}

/// The four GL values of a material, in the order of GL3GABuffer::MaterialParameter.
struct MaterialValues {
  float value[GL3GABuffer::kMaterialParameters][4];
};

void Put(float* entry, const Rgb& color, float fourth) {
  entry[0] = color.red;
  entry[1] = color.green;
  entry[2] = color.blue;
  entry[3] = fourth;
}

MaterialValues ComputeMaterial(const AttrProperty& attribute, float transparencyScale,
                               const RenderInfo& info) {
  const bool flat = (info.flags & RenderInfo::kFlatMaterials) != 0;
  float alpha = 1 - attribute.transparency.Current();
  Rgb base = Current(attribute.base);
  if (transparencyScale != 0) {
    alpha *= transparencyScale;
    base = {1, 1, 1};
  }
  const Rgb ambient = AmbientColor(attribute, info);

  MaterialValues values;
  Put(values.value[GL3GABuffer::kDiffuse],
      {base.red * (1 - ambient.red), base.green * (1 - ambient.green),
       base.blue * (1 - ambient.blue)},
      alpha);
  const Rgb sentAmbient = flat ? Rgb{} : ambient;
  Put(values.value[GL3GABuffer::kAmbient], sentAmbient, alpha);

  const float roughness = attribute.roughness.Current();
  if (roughness == 0 || flat) {
    Put(values.value[GL3GABuffer::kShininess], {}, 1.0f);
    Put(values.value[GL3GABuffer::kSpecular], {}, 1.0f);
    return values;
  }
  // The entry's tail keeps the ambient's green, blue and alpha, so that a change of those sends
  // the shininess again.
  Put(values.value[GL3GABuffer::kShininess],
      {std::min(45.0f / roughness, 128.0f), sentAmbient.green, sentAmbient.blue}, alpha);
  Put(values.value[GL3GABuffer::kSpecular],
      attribute.specularFactor.Current() *
          ColorOrBase(attribute, attribute.specularSource, attribute.specular),
      1.0f);
  return values;
}

constexpr GLenum kParameterNames[] = {GL_DIFFUSE, GL_AMBIENT, GL_SHININESS, GL_SPECULAR};
static_assert(std::size(kParameterNames) == GL3GABuffer::kMaterialParameters);

}  // namespace

void GL3GABuffer::SendMaterial(MaterialParameter parameter) {
  MaterialEntry& entry = m_material[parameter];
  glMaterialfv(GL_FRONT_AND_BACK, kParameterNames[parameter], entry.value);
  entry.pending = 0;
}

/// Keeps a value that differs from the cached one (NaN always does). True when it did.
bool GL3GABuffer::StoreMaterial(MaterialParameter parameter, const float* value) {
  MaterialEntry& entry = m_material[parameter];
  if (std::equal(value, value + 4, entry.value)) return false;
  std::copy_n(value, 4, entry.value);
  return true;
}

bool GL3GABuffer::StoreMaterials(const AttrProperty& attribute, float transparencyScale,
                                 bool send) {
  const MaterialValues values = ComputeMaterial(attribute, transparencyScale, *m_renderInfo);
  bool changed = false;
  for (int i = 0; i < kMaterialParameters; ++i) {
    const auto parameter = static_cast<MaterialParameter>(i);
    if (!StoreMaterial(parameter, values.value[i])) continue;
    changed = true;
    if (send) {
      SendMaterial(parameter);
    } else {
      m_material[i].pending = 1;
    }
  }
  return changed;
}

void GL3GABuffer::SetMaterial(AttrProperty* attribute, float transparencyScale) {
  if (attribute) StoreMaterials(*attribute, transparencyScale, true);
}

int GL3GABuffer::NeedsSetMaterial(AttrProperty* attribute, float transparencyScale) {
  return attribute && StoreMaterials(*attribute, transparencyScale, false);
}

void GL3GABuffer::SetMaterial(int force) {
  for (int i = 0; i < kMaterialParameters; ++i) {
    if (force || m_material[i].pending) SendMaterial(static_cast<MaterialParameter>(i));
  }
}

void GL3GABuffer::SetDiffuseMaterial(float* rgba) {
  if (StoreMaterial(kDiffuse, rgba)) SendMaterial(kDiffuse);
}
