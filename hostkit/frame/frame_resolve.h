// Samples into pixels.
#pragma once

#include "host/Bitmap.h"
#include "hostkit/scene/camera_window.h"

namespace hostkit {

/// Averages blocks of `samplesPerSide` x `samplesPerSide` samples into the pixels of `window`,
/// clipped to `*pixels`, of the same frame on black and on white. Buffers are half floats as the
/// renderer reads them back. What a pixel lets through of the difference is what it does not cover,
/// and its colour on black is already multiplied by alpha. Of opaque frames: see ReadMeans.
void ResolveSamples(const HBitmapBuffer& onBlack, const HBitmapBuffer& onWhite, int samplesPerSide,
                    const PixelWindow& window, HBitmapBuffer* pixels);

/// Lays `layer` over `*pixels` with its top left at (`x`, `y`), clipped. Both are half floats with
/// premultiplied alpha.
void LayPixelsOver(const HBitmapBuffer& layer, int x, int y, HBitmapBuffer* pixels);

/// Puts `backdrop`, of the same size and kind, behind `*pixels`.
void PutPixelsBehind(const HBitmapBuffer& backdrop, HBitmapBuffer* pixels);

}  // namespace hostkit
