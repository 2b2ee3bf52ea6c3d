// Pictures of another size.
#pragma once

#include "hostkit/services/bitmap_ptr.h"

namespace hostkit {

/// A copy of a decoded picture (see PixelKind) of the given size, a mean of what a pixel covers
/// where it shrinks, else blended from its neighbours; colours weigh by their alpha. Null without
/// memory, or where a side is not positive.
BitmapPtr ScalePicture(HBitmapNode& picture, int width, int height);

}  // namespace hostkit
