// Pixels from the samples of a frame.
#pragma once

#include "host/Bitmap.h"
#include "hostkit/scene/camera_window.h"

namespace hostkit {

/// Reads the frame that the current context holds, `surfaceHeight` samples high, and writes the
/// mean of each block of `samplesPerSide` x `samplesPerSide` (1 to 4) into a pixel of `window`,
/// clipped to `*pixels`; the frame's upper left corner is the window's. Pixels are opaque half
/// floats as the renderer reads them back, and means are of what it would have read. False without
/// memory.
bool ReadMeans(int surfaceHeight, int samplesPerSide, const PixelWindow& window,
               HBitmapBuffer* pixels);

}  // namespace hostkit
