// What Exif data tell of a picture, and turning it as it is meant.
#pragma once

#include <string_view>

#include "hostkit/services/bitmap_ptr.h"

namespace hostkit {

/// The orientation of pictures that are stored as they are seen.
constexpr int kUpright = 1;

/// The orientation that Exif data (in JPEG, PNG and WebP files) tell: 1 to 8, as Exif and TIFF
/// number them. 1 where there is none or it makes no sense.
int ExifOrientation(std::string_view file);

/// The description in Exif data; empty without one.
std::string_view ExifDescription(std::string_view file);

/// The picture as it is meant, from one that is stored with the orientation: mirrored and turned.
/// Bitmaps of one buffer with four channels, bytes or half floats. Null without memory.
BitmapPtr TurnUpright(BitmapPtr stored, int orientation);

}  // namespace hostkit
