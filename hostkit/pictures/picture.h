// Finished pictures, and writing them to files.
#pragma once

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/services/bitmap_ptr.h"

namespace hostkit {

/// A finished frame: a bitmap with a "ColorAlpha" buffer (half floats, display-referred), top row
/// first. Colours are premultiplied by alpha when `hasAlpha` is set; else alpha means nothing and
/// the picture is opaque. A "Depth" buffer (float) may come along.
struct Picture {
  BitmapPtr bitmap;       ///< Null where there is no picture.
  bool hasAlpha = false;  ///< Whether alpha says what is covered.
};

/// How a picture was made: name and value pairs, kept as PNG text, EXR attributes and a JPEG
/// comment. Names are like "gl3:command".
using Recipe = std::vector<std::pair<std::string, std::string>>;

/// How a picture is written.
struct PictureOptions {
  int jpegQuality = 92;  ///< 1 to 100.
  /// What of the picture is written; without colours the file must be an .exr and there be a depth.
  bool colors = true, depth = true;
};

/// File kinds that pictures are written to, by suffix without case: .png (8-bit, straight alpha,
/// sRGB chunk), .exr (half, premultiplied alpha, channels R G B A, Z when there is a depth), .jpg
/// and .jpeg (opaque, on black). Returns false with one line in `*error` that lists them.
bool IsPictureSuffixKnown(const std::string& path, std::string* error);

/// Encodes a picture as a file of the kind that `suffix` names, such as ".png", into a stream that
/// can seek. On failure returns false with the reason and the remedy in `*reason`; what the stream
/// holds then is of no use.
bool EncodePicture(std::FILE* stream, const std::string& suffix, const Picture& picture,
                   const Recipe& recipe, const PictureOptions& options, std::string* reason);

/// Writes a picture: whole, under a temporary name in the same folder that then takes the final
/// name, or not at all. On failure returns false and `*error` names the file, the reason and the
/// remedy; what stood at `path` before is untouched.
bool WritePicture(const std::string& path, const Picture& picture, const Recipe& recipe,
                  const PictureOptions& options, std::string* error);

}  // namespace hostkit
