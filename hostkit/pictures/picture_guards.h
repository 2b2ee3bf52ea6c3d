// Faults of picture files that decoders do not survive, or meet with gigabytes of memory. To be
// looked for before they decode.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace hostkit {

/// Pixels a side of the largest pictures that are read, of every kind.
constexpr int kLargestSide = 32768;

/// Why a picture of this size is not read, with the remedy; "" where it is. `mostBytes` is the room
/// that its user has for it, at four bytes a pixel.
std::string SizeRefusal(long long width, long long height, std::uint64_t mostBytes);
/// The width and height that a PNG file's header tells, however large; zeros for files of other
/// kinds. The decoder takes those that are too large for it for no picture at all.
std::pair<long long, long long> PngSize(std::string_view file);
/// Why there is no bitmap of this size, with the remedy.
std::string NoMemoryText(int width, int height);

/// Whether all run-length coded rows of an HDR file are there, given the size that its header
/// tells. The decoder waits for the rest of a cut row for ever. True for files of other kinds, and
/// for rows that are not coded.
bool AreHdrRowsWhole(std::string_view file, int width, int height);

/// Whether no code table of a JPEG file has more than the 256 entries that the decoder has room
/// for. True for files of other kinds.
bool AreJpegTablesSound(std::string_view file);

/// Whether what the headers of an OpenEXR file hold is no longer than the file. The library makes
/// room for lengths as they are told before it looks. True for files of other kinds.
bool AreExrHeadersWhole(std::string_view file);

}  // namespace hostkit
