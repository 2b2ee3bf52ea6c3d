// Surface materials.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/Animation.h"
#include "host/Vectors.h"

/// A surface material. Colours and factors are 0 to 1 nominally. The module reads the current
/// values, and keeps pointers to the record that was set last and to those of the transparent
/// surfaces that are not drawn yet: a record must live until the buffer's EndScene. What is
/// animated the host brings up to date before it sets the material.
struct AttrProperty {
  /// Bit 1 of a colour source word: the colour is the base colour, not the one beside the word.
  static constexpr std::uint32_t kFromBaseColor = 1u << 1;

  /// The surface's own colour. Channel by channel diffuse light has base * (1 - A) of it, where the
  /// ambient colour A is the material's own, whole(ambientFactor) times `ambient` or `base`, and
  /// what the surroundings add: environment colour * intensity * base in mode
  /// LightingEnvironment::kAmbientColorMode, else base * (1 - L) * SceneRecord::ambientAmount, L
  /// being 0.3 red + 0.59 green + 0.11 blue of the material's own.
  AnimatableColor base;
  /// 0: the material's own ambient colour is `ambient`; kFromBaseColor: it is `base`.
  std::uint32_t ambientSource = 0;
  AnimatableColor ambient;  ///< Where ambientSource does not say otherwise.
  /// Times the ambient colour. Cut to a whole number: below 1 the material has no ambient colour of
  /// its own, and that of the surroundings remains (LightingEnvironment, SceneRecord).
  AnimatableValue ambientFactor;
  std::uint32_t specularSource = 0;  ///< As ambientSource, for `specular`.
  AnimatableColor specular;          ///< Colour of highlights.
  /// 0 means no highlight; else the exponent is 45 / roughness, at most 128.
  AnimatableValue roughness;
  AnimatableValue specularFactor;  ///< Times the colour of highlights.
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

/// One point of a shaded line strip (DisplayList::AddTransformedShadedLineList).
struct GAShadedLineVertex {
  AttrProperty material;  ///< Of the line at this point.
  Vector position;        ///< View space.
  Vector normal;          ///< View space, unit length; scaling it is not put right.
  float width = 0;        ///< Half the line's width in pixels; the first point's is the strip's.
};
static_assert(offsetof(GAShadedLineVertex, material) == 0 &&
              offsetof(GAShadedLineVertex, position) == sizeof(AttrProperty) &&
              offsetof(GAShadedLineVertex, normal) == sizeof(AttrProperty) + 12 &&
              offsetof(GAShadedLineVertex, width) == sizeof(AttrProperty) + 24 &&
              sizeof(GAShadedLineVertex) == sizeof(AttrProperty) + 32);
