// Owning handles of host bitmaps, and bitmaps with one buffer of four channels.
#pragma once

#include <memory>

#include "host/Bitmap.h"

namespace hostkit {

/// Releases a bitmap the way the host does.
struct BitmapRelease {
  /// Never called with null.
  void operator()(HBitmapNode* bitmap) const { bitmap->DeleteHandle(); }
};

/// The one owner of a host bitmap; null without one.
using BitmapPtr = std::unique_ptr<HBitmapNode, BitmapRelease>;

/// A new bitmap with one buffer, an HRGBABuffer: "Color", of bytes. Its pixels have any value until
/// they are written. Null without pixels or memory.
BitmapPtr NewByteBitmap(int width, int height);
/// The same with "ColorAlpha", of half floats.
BitmapPtr NewHalfBitmap(int width, int height);

}  // namespace hostkit
