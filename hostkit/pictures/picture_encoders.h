// The file kinds that pictures are written to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "hostkit/pictures/picture.h"

namespace hostkit {

/// The pixels of a picture as encoders read them.
struct PicturePixels {
  int width = 0, height = 0;
  bool hasAlpha = false;
  /// Half floats: blue, green, red, alpha. Null only for OpenEXR files with depth alone.
  const std::uint16_t* colors = nullptr;
  std::ptrdiff_t colorRowStep = 0;  ///< Elements from row to row.
  const float* depths = nullptr;    ///< Null when there are none.
  std::ptrdiff_t depthPixelStep = 0, depthRowStep = 0;
};

/// The pixels of a picture, which must stay while they are used. False when it holds no colours of
/// the promised kind, or not what is to be written.
bool DescribePixels(const Picture& picture, const PictureOptions& options, PicturePixels* pixels);

/// Encoders write to a stream that can seek. On failure they return false with the reason and the
/// remedy in `*reason`; what they have written by then is of no use.
bool EncodePng(std::FILE* stream, const PicturePixels& pixels, const Recipe& recipe,
               std::string* reason);
bool EncodeJpeg(std::FILE* stream, const PicturePixels& pixels, const Recipe& recipe, int quality,
                std::string* reason);
bool EncodeExr(std::FILE* stream, const PicturePixels& pixels, const Recipe& recipe,
               std::string* reason);

/// Row `y` as tightly packed bytes: red, green, blue, premultiplied when there is alpha.
void RowToRgb(const PicturePixels& pixels, int y, unsigned char* row);
/// Row `y` as tightly packed bytes: red, green, blue, alpha, colours divided by alpha. What is
/// fully transparent becomes black.
void RowToStraightRgba(const PicturePixels& pixels, int y, unsigned char* row);

}  // namespace hostkit
