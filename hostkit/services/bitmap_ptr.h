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

}  // namespace hostkit
