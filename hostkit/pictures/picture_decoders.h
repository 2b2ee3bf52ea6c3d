// The kinds of files that pictures are read from.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "hostkit/pictures/picture_sink.h"

namespace hostkit {

/// Decoders take a whole file. On failure they return false with the reason and the remedy, without
/// the file's name, in `*reason`; what they have put is of no use then.
using PictureDecoder = bool (*)(const unsigned char* bytes, std::size_t size, PictureSink& sink,
                                std::string* reason);

/// Whether a file begins as those of a kind do.
bool IsExr(const unsigned char* bytes, std::size_t size);
bool IsWebp(const unsigned char* bytes, std::size_t size);
bool IsTiff(const unsigned char* bytes, std::size_t size);
bool IsPnm(const unsigned char* bytes, std::size_t size);

/// The display window of an OpenEXR file; what lies outside the data window is transparent, or
/// black where the file has no alpha. Values are scene-linear unless the file says that they are
/// display-referred. Files with luminance alone, with or without chroma, are read too.
bool DecodeExr(const unsigned char* bytes, std::size_t size, PictureSink& sink,
               std::string* reason);
/// Not films.
bool DecodeWebp(const unsigned char* bytes, std::size_t size, PictureSink& sink,
                std::string* reason);
/// The first picture of a file, as it is stored; its orientation goes into the sink's facts. Floats
/// are scene-linear light.
bool DecodeTiff(const unsigned char* bytes, std::size_t size, PictureSink& sink,
                std::string* reason);
/// P1 to P7, the last one (PAM) with one to four channels.
bool DecodePnm(const unsigned char* bytes, std::size_t size, PictureSink& sink,
               std::string* reason);
/// PNG, JPEG, TGA, BMP, HDR, told apart by the decoder; TGA files have no mark of their own.
bool DecodeOther(const unsigned char* bytes, std::size_t size, PictureSink& sink,
                 std::string* reason);

/// The text that a file holds beside its pixels: the description of a TIFF file, the comments in
/// the header of a PNM file, a line each. Empty without any.
std::string TiffDescription(const unsigned char* bytes, std::size_t size);
std::string PnmComments(const unsigned char* bytes, std::size_t size);

/// Makes the OpenEXR library, for the whole process, refuse pictures and tiles that are larger than
/// what is read. What gl3 writes is no larger.
void LimitExrSizes();

/// What libraries say about a file, which may quote it: what is no printable ASCII becomes a
/// question mark, and it ends after 200 characters.
std::string Printable(std::string_view text);

}  // namespace hostkit
