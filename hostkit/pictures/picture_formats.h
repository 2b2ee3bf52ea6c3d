// The kinds of picture files: which are read, which are written, and what they keep.
#pragma once

#include <cctype>
#include <cstddef>
#include <string>
#include <string_view>

namespace hostkit {

/// Kinds of picture files, in the order of kPictureFormats.
enum class PictureKind { kPng, kExr, kJpeg, kWebp, kTiff, kPnm, kTga, kBmp, kHdr };

/// What there is to know of a kind without its libraries.
struct PictureFormat {
  PictureKind kind;         ///< Which one it is.
  const char* name;         ///< For people.
  const char* suffixes[5];  ///< In small letters with the dot, the usual one first; null fills up.
  std::size_t writtenSuffixes;  ///< How many of them files are written with; 0: it is not written.
  const char* read;             ///< What is read of it, in words.
  const char* written;          ///< What is written, in words; null: it is not.
  bool keepsAlpha;              ///< As it is written. Without it pictures lie on black.
  bool keepsHalves;             ///< As it is written: half floats, also above 1. Else 8 bits.
  bool keepsPasses;  ///< As it is written: distances, normals and ids may join the colours.
};

/// All kinds, those that are written first.
inline constexpr PictureFormat kPictureFormats[] = {
    {PictureKind::kPng,
     "PNG",
     {".png"},
     1,
     "8 and 16 bits, palettes, alpha",
     "8 bits, straight alpha",
     true,
     false,
     false},
    {PictureKind::kExr,
     "EXR",
     {".exr"},
     1,
     "one part of scan lines or tiles; colours or luminance, alpha",
     "half floats, linear, premultiplied alpha; passes",
     true,
     true,
     true},
    {PictureKind::kJpeg,
     "JPEG",
     {".jpg", ".jpeg"},
     2,
     "8 bits, baseline and progressive",
     "8 bits, on black",
     false,
     false,
     false},
    {PictureKind::kWebp,
     "WebP",
     {".webp"},
     1,
     "8 bits, alpha; no films",
     "8 bits, straight alpha; without loss at --quality 100",
     true,
     false,
     false},
    {PictureKind::kTiff,
     "TIFF",
     {".tif", ".tiff"},
     2,
     "1 to 16 bits, floats, palettes, alpha; the first picture of a file",
     "8 bits, straight alpha, deflated",
     true,
     false,
     false},
    {PictureKind::kPnm,
     "PNM",
     {".ppm", ".pgm", ".pbm", ".pnm", ".pam"},
     1,
     "P1 to P7 (PAM), 1 to 16 bits",
     "8 bits (P6), on black",
     false,
     false,
     false},
    {PictureKind::kTga, "TGA", {".tga"}, 0, "8 bits, alpha", nullptr, false, false, false},
    {PictureKind::kBmp, "BMP", {".bmp"}, 0, "1 to 32 bits", nullptr, false, false, false},
    {PictureKind::kHdr, "HDR", {".hdr"}, 0, "Radiance RGBE, linear", nullptr, false, false, false},
};

/// The kind that is written to a file of this name, by its suffix in letters of any case; null when
/// none is.
inline const PictureFormat* FindWrittenFormat(std::string_view path) {
  const std::size_t name = path.rfind('/') + 1, dot = path.rfind('.');
  if (dot == std::string_view::npos || dot <= name) return nullptr;  // ".png" is a name
  std::string suffix(path.substr(dot));
  for (char& c : suffix) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  for (const PictureFormat& format : kPictureFormats) {
    for (std::size_t i = 0; i < format.writtenSuffixes; ++i) {
      if (suffix == format.suffixes[i]) return &format;
    }
  }
  return nullptr;
}

/// ".png, .exr, .jpg, ...": all suffixes of files that are written.
inline std::string WrittenSuffixes() {
  std::string all;
  for (const PictureFormat& format : kPictureFormats) {
    for (std::size_t i = 0; i < format.writtenSuffixes; ++i) {
      all += (all.empty() ? "" : ", ") + std::string(format.suffixes[i]);
    }
  }
  return all;
}

/// "PNG, EXR, ... or HDR": the kinds that are read.
inline std::string ReadFormatNames() {
  std::string all;
  const PictureFormat* last = nullptr;
  for (const PictureFormat& format : kPictureFormats) {
    if (last) all += (all.empty() ? "" : ", ") + std::string(last->name);
    last = &format;
  }
  return all + " or " + last->name;
}

/// What each written kind holds, a line each, for help texts: suffixes and words.
inline std::string DescribeWrittenFormats(std::string_view indent) {
  std::string text;
  for (const PictureFormat& format : kPictureFormats) {
    std::string suffixes;
    for (std::size_t i = 0; i < format.writtenSuffixes; ++i) {
      suffixes += (i == 0 ? "" : " ") + std::string(format.suffixes[i]);
    }
    if (suffixes.empty()) continue;
    suffixes.resize(suffixes.size() < 12 ? 12 : suffixes.size(), ' ');
    text += std::string(indent) + suffixes + "  " + format.written + "\n";
  }
  return text;
}

}  // namespace hostkit
