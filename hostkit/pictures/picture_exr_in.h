// OpenEXR files into host bitmaps.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "hostkit/pictures/picture_in.h"
#include "hostkit/services/bitmap_ptr.h"

namespace hostkit {

/// Whether a file begins as OpenEXR files do.
bool IsExr(const unsigned char* bytes, std::size_t size);

/// Makes the library, for the whole process, refuse pictures and tiles that are larger than what is
/// read. What gl3 writes is no larger.
void LimitExrSizes();

/// The display window of an OpenEXR file as 8-bit display-referred colours with straight alpha;
/// what lies outside the data window is transparent, or black where the file has no alpha. Files of
/// gl3 hold display-referred values; those of others scene-linear ones, which are encoded as sRGB.
/// Files with luminance alone, with or without chroma, are read too. On failure returns null with
/// the reason and the remedy, without the name, in `*reason`; so for those of more than `mostBytes`
/// once decoded.
BitmapPtr LoadExr(const unsigned char* bytes, std::size_t size, PictureFacts* facts,
                  std::uint64_t mostBytes, std::string* reason);

}  // namespace hostkit
