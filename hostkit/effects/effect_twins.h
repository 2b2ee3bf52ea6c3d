// The effects' twins on the processor, written from their formulas: what a renderer is checked
// against.
#pragma once

#include <vector>

#include "host/Bitmap.h"
#include "hostkit/effects/effect_table.h"

namespace hostkit {

/// Tightly packed red, green, blue, alpha bytes, top row first.
struct TwinPixels {
  int width = 0, height = 0;
  std::vector<unsigned char> rgba;
};

/// The pixels of a bitmap's "Color" buffer.
TwinPixels TwinFromBytes(const HBitmapNode& bitmap);

/// What `call` makes of a picture, with edges clamped, rounded to 8 bits after each pass (blur:
/// after each half of it) as the renderer's 8-bit targets do.
TwinPixels RunTwin(const EffectCall& call, TwinPixels pixels);

/// The largest difference of a channel between `twin` and the "ColorAlpha" buffer of a result of
/// the same size, in 1/255.
int LargestDifference(const TwinPixels& twin, const HBitmapNode& halves);

/// What that may be for a sound renderer (docs/EFFECTS.md gives the reasons).
int DifferenceBound(const EffectCall& call);

}  // namespace hostkit
