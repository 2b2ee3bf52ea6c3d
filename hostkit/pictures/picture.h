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
/// the picture is opaque. Buffers of floats may come along: "Depth", and of other passes "Normal"
/// (three channels), "ObjectId" and "MaterialId".
struct Picture {
  BitmapPtr bitmap;       ///< Null where there is no picture.
  bool hasAlpha = false;  ///< Whether alpha says what is covered.
};

/// How a picture was made: name and value pairs, kept as PNG text, EXR attributes, comments of JPEG
/// and PPM, the description of TIFF and that in WebP's Exif data. Names are like "gl3:command".
using Recipe = std::vector<std::pair<std::string, std::string>>;

/// What the colours of an OpenEXR file stand for.
enum class ExrEncoding {
  kLinear,   ///< Scene-linear light, as other programs take every such file.
  kDisplay,  ///< The renderer's own display-referred values, with an attribute that says so.
};

/// How a picture is written.
struct PictureOptions {
  int quality = 92;  ///< Of JPEG and WebP, 1 to 100. WebP with 100 loses nothing.
  /// What of the picture is written; without colours the file must be an .exr and there be others.
  bool colors = true, depth = true, passes = true;
  ExrEncoding exrEncoding = ExrEncoding::kLinear;  ///< Of OpenEXR files.
};

/// Whether the suffix is that of a kind that is written (see kPictureFormats). Returns false with
/// one line in `*error` that lists them.
bool IsPictureSuffixKnown(const std::string& path, std::string* error);

/// Encodes a picture as a file of that name, whose suffix must be known, into a stream that can
/// seek. On failure returns false with the reason and the remedy in `*reason`; what the stream
/// holds then is of no use.
bool EncodePicture(std::FILE* stream, const std::string& name, const Picture& picture,
                   const Recipe& recipe, const PictureOptions& options, std::string* reason);

/// Writes a picture: whole, under a temporary name in the same folder that then takes the final
/// name, or not at all. On failure returns false and `*error` names the file, the reason and the
/// remedy; what stood at `path` before is untouched.
bool WritePicture(const std::string& path, const Picture& picture, const Recipe& recipe,
                  const PictureOptions& options, std::string* error);

}  // namespace hostkit
