// The effects that pictures can be put through: their names, their parameters and what becomes of
// alpha. A table without code, so that the command line can read it without a library.
#pragma once

#include <cstddef>
#include <iterator>
#include <string_view>

#include "host/GAShaderProgram.h"

namespace hostkit {

struct EffectKind;

/// One effect with its parameters.
struct EffectCall {
  const EffectKind* kind = nullptr;  ///< A row of kEffectKinds.
  float passes = 1;                  ///< A whole number; for blur, of pairs: up and down, across.
  /// In pixels, of blur alone. Its samples lie more than a pixel apart: thin lines come out double.
  float radius = 10;
};

/// What an effect does with alpha.
enum class AlphaRule {
  kKeeps,        ///< Each pixel keeps its own.
  kFilters,      ///< It is filtered like a colour, on straight (not premultiplied) values.
  kMakesOpaque,  ///< It becomes 1; what was transparent is seen on black.
};

/// A parameter, as in "radius=10".
struct EffectKey {
  const char* name;          ///< Before the sign of equality.
  float EffectCall::*value;  ///< Where it goes.
  /// What it may be, and what it is unless told.
  float least, most, standard;
  bool isWhole;         ///< Whole numbers alone.
  const char* meaning;  ///< In English, for a user.
};

/// An effect: a row of the table.
struct EffectKind {
  const char* name;     ///< By which it is asked for.
  const char* summary;  ///< In English, for a user.
  int program;          ///< A GAShaderProgram::Effect.
  int filter;           ///< A GAShaderProgram::Filter, where that is the effect.
  AlphaRule alpha;      ///< What becomes of alpha.
  /// How many pixels away a pass looks, and one more, which linear sampling may touch when a
  /// coordinate is rounded. Blur: to be added to its radius.
  int reach;
  const EffectKey* keys;  ///< Its parameters.
  std::size_t keyCount;   ///< How many there are.
};

/// Parameters of the blur.
inline constexpr EffectKey kBlurKeys[] = {
    {"radius", &EffectCall::radius, 0, 500, 10, false, "pixels to either side; none below 1.43"},
    {"passes", &EffectCall::passes, 1, 100, 1, true, "how often it is applied"},
};
/// Parameters of the image filters.
inline constexpr EffectKey kFilterKeys[] = {
    {"passes", &EffectCall::passes, 1, 100, 1, true, "how often it is applied"},
};

/// For the table below alone.
namespace effect_rows {
/// The row of an image filter.
constexpr EffectKind Filter(const char* name, int filter, AlphaRule alpha, int reach,
                            const char* summary) {
  return {name,  summary,     GAShaderProgram::kFilter, filter, alpha,
          reach, kFilterKeys, std::size(kFilterKeys)};
}
}  // namespace effect_rows

/// Every effect.
inline constexpr EffectKind kEffectKinds[] = {
    {"blur", "Average over a square of 2 x radius; opaque", GAShaderProgram::kBlur, 0,
     AlphaRule::kMakesOpaque, 1, kBlurKeys, std::size(kBlurKeys)},
    effect_rows::Filter("grayscale", GAShaderProgram::kGrayscale, AlphaRule::kKeeps, 0,
                        "Brightness alone"),
    effect_rows::Filter("tint", GAShaderProgram::kTint, AlphaRule::kKeeps, 0,
                        "Brightness in a warm brown"),
    effect_rows::Filter("negative", GAShaderProgram::kNegative, AlphaRule::kKeeps, 0,
                        "Each colour's complement"),
    effect_rows::Filter("sharpen", GAShaderProgram::kSharpen, AlphaRule::kFilters, 2,
                        "Differences to neighbours, added"),
    effect_rows::Filter("dilate", GAShaderProgram::kDilate, AlphaRule::kFilters, 2,
                        "The brightest of 3 x 3 pixels"),
    effect_rows::Filter("erode", GAShaderProgram::kErode, AlphaRule::kFilters, 2,
                        "The darkest of 3 x 3 pixels"),
    effect_rows::Filter("laplacian", GAShaderProgram::kLaplacian, AlphaRule::kMakesOpaque, 2,
                        "Edges, brighter than their surroundings; opaque"),
    effect_rows::Filter("prewitt", GAShaderProgram::kPrewitt, AlphaRule::kMakesOpaque, 2,
                        "Edges, by their steepness; opaque"),
    effect_rows::Filter("sobel", GAShaderProgram::kSobel, AlphaRule::kMakesOpaque, 2,
                        "Edges, by their steepness, smoother; opaque"),
};

/// How many pixels away one pass of an effect looks.
inline int ReachOf(const EffectCall& call) {
  const int reach = call.kind->reach;
  if (call.kind->program != GAShaderProgram::kBlur) return reach;
  const int whole = static_cast<int>(call.radius);
  return reach + whole + (call.radius > static_cast<float>(whole) ? 1 : 0);
}

/// The row called `name`, null when there is none.
inline const EffectKind* FindEffect(std::string_view name) {
  for (const EffectKind& kind : kEffectKinds) {
    if (name == kind.name) return &kind;
  }
  return nullptr;
}

}  // namespace hostkit
