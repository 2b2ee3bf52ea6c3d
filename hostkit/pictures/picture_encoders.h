// The file kinds that pictures are written to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "hostkit/pictures/picture.h"

namespace hostkit {

/// A channel beside the colours, as encoders read it.
struct PassChannel {
  const char* name;                           ///< As OpenEXR files have it.
  const float* values;                        ///< Of the top left pixel.
  std::ptrdiff_t pixelStep = 0, rowStep = 0;  ///< Elements from pixel to pixel, from row to row.
};

/// The pixels of a picture as encoders read them.
struct PicturePixels {
  int width = 0, height = 0;
  bool hasAlpha = false;
  /// Half floats: blue, green, red, alpha. Null only for OpenEXR files without colours.
  const std::uint16_t* colors = nullptr;
  std::ptrdiff_t colorRowStep = 0;  ///< Elements from row to row.
  std::vector<PassChannel> passes;  ///< For OpenEXR files.
};

/// The pixels of a picture, which must stay while they are used. False when it holds no colours of
/// the promised kind, or not what is to be written.
bool DescribePixels(const Picture& picture, const PictureOptions& options, PicturePixels* pixels);

/// Encoders write to a stream that can seek. On failure they return false with the reason and the
/// remedy in `*reason`; what they have written by then is of no use.
using PictureEncoder = bool (*)(std::FILE* stream, const PicturePixels& pixels,
                                const Recipe& recipe, const PictureOptions& options,
                                std::string* reason);

bool EncodePng(std::FILE* stream, const PicturePixels& pixels, const Recipe& recipe,
               const PictureOptions& options, std::string* reason);
bool EncodeJpeg(std::FILE* stream, const PicturePixels& pixels, const Recipe& recipe,
                const PictureOptions& options, std::string* reason);
bool EncodeExr(std::FILE* stream, const PicturePixels& pixels, const Recipe& recipe,
               const PictureOptions& options, std::string* reason);
bool EncodeWebp(std::FILE* stream, const PicturePixels& pixels, const Recipe& recipe,
                const PictureOptions& options, std::string* reason);
bool EncodeTiff(std::FILE* stream, const PicturePixels& pixels, const Recipe& recipe,
                const PictureOptions& options, std::string* reason);
bool EncodePpm(std::FILE* stream, const PicturePixels& pixels, const Recipe& recipe,
               const PictureOptions& options, std::string* reason);

/// Row `y` as tightly packed bytes: red, green, blue, premultiplied when there is alpha.
void RowToRgb(const PicturePixels& pixels, int y, unsigned char* row);
/// Row `y` as tightly packed bytes: red, green, blue, alpha, colours divided by alpha. What is
/// fully transparent becomes black.
void RowToStraightRgba(const PicturePixels& pixels, int y, unsigned char* row);

/// A recipe as lines "name: value", for kinds that hold one text.
std::string RecipeText(const Recipe& recipe);

}  // namespace hostkit
