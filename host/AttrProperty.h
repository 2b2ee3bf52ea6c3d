// Surface materials.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/Animation.h"
#include "host/Vectors.h"

/// A surface material. Colours and factors are 0 to 1 nominally. The module reads the current
/// values, and keeps pointers to the record that was set last and to those of the transparent
/// surfaces that are not drawn yet.
struct AttrProperty {
  /// Bit 1 of a colour source word: the colour is the base colour, not the one beside the word.
  static constexpr std::uint32_t kFromBaseColor = 1u << 1;

  AnimatableColor base;  ///< Of diffuse light, less what the ambient colour takes.
  std::uint32_t ambientSource = 0;
  AnimatableColor ambient;
  /// Cut to a whole number: below 1 the material has no ambient colour of its own.
  AnimatableValue ambientFactor;
  std::uint32_t specularSource = 0;
  AnimatableColor specular;
  /// 0 means no highlight; else the exponent is 45 / roughness, at most 128.
  AnimatableValue roughness;
  AnimatableValue specularFactor;
  /// alpha = 1 - transparency; non-zero marks the surface transparent.
  AnimatableValue transparency;
};
static_assert(sizeof(AnimatableValue) == 16 && offsetof(AnimatableColor, green) == 16 &&
              offsetof(AnimatableColor, blue) == 32);
static_assert(offsetof(AttrProperty, base) == 0 && offsetof(AttrProperty, ambientSource) == 48 &&
              offsetof(AttrProperty, ambient) == 56 &&
              offsetof(AttrProperty, ambientFactor) == 104 &&
              offsetof(AttrProperty, specularSource) == 120 &&
              offsetof(AttrProperty, specular) == 128 && offsetof(AttrProperty, roughness) == 176 &&
              offsetof(AttrProperty, specularFactor) == 192 &&
              offsetof(AttrProperty, transparency) == 208 && sizeof(AttrProperty) == 224);

/// One point of a shaded line strip: its material, view-space position and normal, width in pixels.
struct GAShadedLineVertex {
  AttrProperty material;
  Vector position;
  Vector normal;
  float width = 0;
};
static_assert(offsetof(GAShadedLineVertex, material) == 0 &&
              offsetof(GAShadedLineVertex, position) == sizeof(AttrProperty) &&
              offsetof(GAShadedLineVertex, normal) == sizeof(AttrProperty) + 12 &&
              offsetof(GAShadedLineVertex, width) == sizeof(AttrProperty) + 24 &&
              sizeof(GAShadedLineVertex) == sizeof(AttrProperty) + 32);
