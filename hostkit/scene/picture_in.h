// Picture files into host bitmaps.
#pragma once

#include <cstddef>
#include <string>

#include "hostkit/scene/scene.h"

namespace hostkit {

/// Reads PNG, JPEG, TGA, BMP, HDR (all 8-bit display-referred on arrival) into a bitmap with one
/// "Color" buffer. On failure returns null, and `*error` names the file, the reason and the remedy.
BitmapPtr LoadPicture(const std::string& path, std::string* error);

/// The same from a file in memory; `name` is for messages.
BitmapPtr LoadPictureFromMemory(const unsigned char* bytes, std::size_t size,
                                const std::string& name, std::string* error);

/// A bitmap of `width` x `height` pixels from tightly packed red, green, blue, alpha bytes, top row
/// first. Null without memory.
BitmapPtr BitmapFromRgba(const unsigned char* rgba, int width, int height);

}  // namespace hostkit
