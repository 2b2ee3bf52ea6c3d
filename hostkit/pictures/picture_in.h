// Picture files into host bitmaps.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "hostkit/services/bitmap_ptr.h"

namespace hostkit {

/// What reading a picture changed about it, or left.
struct PictureFacts {
  bool clipped = false;    ///< There were colours above 1, which bytes do not hold.
  bool wasLinear = false;  ///< Scene-linear light was encoded for display.
  int orientation = 1;     ///< Of the file, 1 to 8 as Exif and TIFF number them.
};

/// What decoded pixels are kept as.
enum class PixelKind {
  kBytes,   ///< A "Color" buffer: 8 bits, display-referred, straight alpha; cut to 0 to 1.
  kHalves,  ///< A "ColorAlpha" buffer: half floats, display-referred, premultiplied, not cut.
};

/// How a picture is wanted.
struct PictureWish {
  PixelKind kind = PixelKind::kBytes;    ///< Of its pixels.
  bool upright = true;                   ///< As its orientation says it is meant; else as stored.
  std::uint64_t mostBytes = UINT64_MAX;  ///< Larger ones, at four bytes a pixel, are refused.
};

/// Reads a picture of any kind of kPictureFormats, upright, into a bitmap with one buffer. On
/// failure returns null, and `*error` names the file, the reason and the remedy.
BitmapPtr LoadPicture(const std::string& path, std::string* error, PictureFacts* facts = nullptr,
                      PixelKind kind = PixelKind::kBytes);

/// A whole file into memory: of a regular file alone, and not of one that is too large for a
/// picture. False with `*error` as above.
bool ReadPictureFile(const std::string& path, std::vector<unsigned char>* bytes,
                     std::string* error);

/// The picture of a file in memory; `name` is for messages.
BitmapPtr DecodePicture(const unsigned char* bytes, std::size_t size, const std::string& name,
                        const PictureWish& wish, std::string* error, PictureFacts* facts = nullptr);

/// The same as bytes and as it is stored: for textures, whose coordinates mean the stored rows.
BitmapPtr LoadPictureFromMemory(const unsigned char* bytes, std::size_t size,
                                const std::string& name, std::string* error,
                                PictureFacts* facts = nullptr,
                                std::uint64_t mostBytes = UINT64_MAX);

/// Whether any pixel of a "Color" or "ColorAlpha" buffer is not opaque.
bool HasAlpha(const HBitmapNode& bitmap);

/// A bitmap of `width` x `height` pixels from tightly packed red, green, blue, alpha bytes, top row
/// first. Null without pixels or memory.
BitmapPtr BitmapFromRgba(const unsigned char* rgba, int width, int height);

}  // namespace hostkit
