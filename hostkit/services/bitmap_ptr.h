// Owning handles of host bitmaps, and bitmaps with one buffer of four channels.
#pragma once

#include <memory>

#include "host/Bitmap.h"

namespace hostkit {

/// Releases a bitmap the way the host does.
struct BitmapRelease {
  void operator()(HBitmapNode* bitmap) const { bitmap->DeleteHandle(); }
};

/// The one owner of a host bitmap; null without one.
using BitmapPtr = std::unique_ptr<HBitmapNode, BitmapRelease>;

/// New bitmaps with one buffer, an HRGBABuffer: "Color" of bytes or "ColorAlpha" of half floats.
/// Its pixels have any value until they are written. Null without pixels or memory.
BitmapPtr NewByteBitmap(int width, int height);
BitmapPtr NewHalfBitmap(int width, int height);

}  // namespace hostkit
