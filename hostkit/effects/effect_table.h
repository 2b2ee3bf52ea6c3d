// The effects that pictures can be put through: their names, their parameters and what becomes of
// alpha. A table without code, so that the command line can read it without a library.
#pragma once

#include <cstddef>
#include <iterator>
#include <string_view>

namespace hostkit {

struct EffectKind;

/// One effect with its parameters.
struct EffectCall {
  const EffectKind* kind = nullptr;  ///< A row of kEffectKinds.
  float passes = 1;                  ///< A whole number; for blur, of pairs: up and down, across.
  float radius = 10;                 ///< Pixels; of blur alone.
};

/// What an effect does with alpha.
enum class AlphaRule {
  kKeeps,        ///< Each pixel keeps its own.
  kFilters,      ///< It is filtered like a colour, on straight (not premultiplied) values.
  kMakesOpaque,  ///< It becomes 1; what was transparent is seen on black.
};

/// A parameter, as in "radius=10".
struct EffectKey {
  const char* name;
  float EffectCall::*value;
  float least, most, standard;
  bool isWhole;
  const char* meaning;
};

struct EffectKind {
  const char* name;
  const char* summary;
  int program;  ///< The effect number of GAShaderProgram.
  int filter;   ///< Number of the image filter, for program 1.
  AlphaRule alpha;
  /// How many pixels away a pass looks, and one more, which linear sampling may touch when a
  /// coordinate is rounded. Blur: to be added to its radius.
  int reach;
  const EffectKey* keys;
  std::size_t keyCount;
};

inline constexpr int kBlurProgram = 0;
inline constexpr int kFilterProgram = 1;

inline constexpr EffectKey kBlurKeys[] = {
    {"radius", &EffectCall::radius, 0, 500, 10, false, "pixels to either side; none below 1.43"},
    {"passes", &EffectCall::passes, 1, 100, 1, true, "how often it is applied"},
};
inline constexpr EffectKey kFilterKeys[] = {
    {"passes", &EffectCall::passes, 1, 100, 1, true, "how often it is applied"},
};

namespace effect_rows {
constexpr EffectKind Filter(const char* name, int filter, AlphaRule alpha, int reach,
                            const char* summary) {
  return {name, summary, kFilterProgram, filter, alpha, reach, kFilterKeys, std::size(kFilterKeys)};
}
}  // namespace effect_rows

inline constexpr EffectKind kEffectKinds[] = {
    {"blur", "Average over a square of 2 x radius; opaque", kBlurProgram, 0,
     AlphaRule::kMakesOpaque, 1, kBlurKeys, std::size(kBlurKeys)},
    effect_rows::Filter("grayscale", 0, AlphaRule::kKeeps, 0, "Brightness alone"),
    effect_rows::Filter("tint", 1, AlphaRule::kKeeps, 0, "Brightness in a warm brown"),
    effect_rows::Filter("negative", 2, AlphaRule::kKeeps, 0, "Each colour's complement"),
    effect_rows::Filter("sharpen", 3, AlphaRule::kFilters, 2, "Differences to neighbours, added"),
    effect_rows::Filter("dilate", 4, AlphaRule::kFilters, 2, "The brightest of 3 x 3 pixels"),
    effect_rows::Filter("erode", 5, AlphaRule::kFilters, 2, "The darkest of 3 x 3 pixels"),
    effect_rows::Filter("laplacian", 6, AlphaRule::kMakesOpaque, 2,
                        "Edges, brighter than their surroundings; opaque"),
    effect_rows::Filter("prewitt", 7, AlphaRule::kMakesOpaque, 2,
                        "Edges, by their steepness; opaque"),
    effect_rows::Filter("sobel", 8, AlphaRule::kMakesOpaque, 2,
                        "Edges, by their steepness, smoother; opaque"),
};

/// How many pixels away one pass of an effect looks.
inline int ReachOf(const EffectCall& call) {
  const int reach = call.kind->reach;
  if (call.kind->program != kBlurProgram) return reach;
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
