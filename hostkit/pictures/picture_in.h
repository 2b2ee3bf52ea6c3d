// Picture files into host bitmaps.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "hostkit/services/bitmap_ptr.h"

namespace hostkit {

/// What reading a picture changed about it.
struct PictureFacts {
  bool clipped = false;    ///< Colours above 1 were cut to 1.
  bool wasLinear = false;  ///< Scene-linear light was encoded for display.
};

/// Reads EXR, PNG, JPEG, WebP, TGA, BMP, HDR (all 8-bit display-referred with straight alpha on
/// arrival) into a bitmap with one "Color" buffer. On failure returns null, and `*error` names the
/// file, the reason and the remedy.
BitmapPtr LoadPicture(const std::string& path, std::string* error, PictureFacts* facts = nullptr);

/// The same from a file in memory; `name` is for messages. Pictures of more than `mostBytes` once
/// decoded, at four bytes a pixel, are refused before they are.
BitmapPtr LoadPictureFromMemory(const unsigned char* bytes, std::size_t size,
                                const std::string& name, std::string* error,
                                PictureFacts* facts = nullptr,
                                std::uint64_t mostBytes = UINT64_MAX);

/// A bitmap of `width` x `height` pixels from tightly packed red, green, blue, alpha bytes, top row
/// first. Null without pixels or memory.
BitmapPtr BitmapFromRgba(const unsigned char* rgba, int width, int height);

}  // namespace hostkit
