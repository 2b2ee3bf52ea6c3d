// What is behind a scene: gradients and pictures of a frame's size.
#pragma once

#include "hostkit/services/bitmap_ptr.h"

namespace hostkit {

/// An opaque bitmap with a "ColorAlpha" buffer that goes from `top` to `bottom`, display-referred,
/// 0 to 1: straight from the frame's upper edge to its lower. Null without memory.
BitmapPtr MakeGradient(int width, int height, const float top[3], const float bottom[3]);

/// The same of a picture with a "Color" buffer, as large as covers the frame, with its middle in
/// the frame's. What is clear in it shows black. Leaves its mean colour in `mean`.
BitmapPtr CoverWith(const HBitmapNode& picture, int width, int height, float mean[3]);

}  // namespace hostkit
