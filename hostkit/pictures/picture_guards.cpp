// Faults of picture files, found before decoders meet them.
#include "hostkit/pictures/picture_guards.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>

namespace hostkit {
namespace {

// As many pixels are a gigabyte; decoding takes about three.
constexpr long long kMostPixels = 1LL << 28;

bool IsHdr(std::string_view file) {
  return file.starts_with("#?RADIANCE\n") || file.starts_with("#?RGBE\n");
}

/// Its first byte may be repeated.
bool IsJpeg(std::string_view file) {
  const std::size_t start = file.find_first_not_of('\xFF');
  return start != std::string_view::npos && start > 0 && file[start] == '\xD8';
}

int ByteAt(std::string_view file, std::size_t at) {
  return at < file.size() ? static_cast<unsigned char>(file[at]) : 0;
}

/// Where the rows of an HDR file begin: behind an empty line and the line with the size.
std::size_t HdrRowsStart(std::string_view file) {
  std::size_t at = 0;
  bool headerEnded = false;
  while (at < file.size()) {
    const std::size_t start = at;
    at = std::min(file.find('\n', at), file.size() - 1) + 1;
    if (headerEnded) break;
    headerEnded = file[start] == '\n' || file[start] == '\0';
  }
  return at;
}

constexpr int kEndOfImage = 0xD9;
constexpr int kDefineTables = 0xC4;

/// Whether the marker stands alone, without a segment of its own: what stuffs coded data, restarts
/// it or fills in between.
bool StandsAlone(int marker) {
  return marker == 0 || marker == 1 || marker == 0xFF || (marker >= 0xD0 && marker <= 0xD8);
}

/// Whether the tables between two places of a file have room: each is its class and number, the
/// counts of codes of 1 to 16 bits, and as many values.
bool AreTablesSound(std::string_view file, std::size_t at, std::size_t end) {
  constexpr int kMostValues = 256;
  while (at < end) {
    int values = 0;
    for (std::size_t i = 1; i <= 16; ++i) values += ByteAt(file, at + i);
    if (values > kMostValues) return false;
    at += 17 + static_cast<std::size_t>(values);
  }
  return true;
}

/// Four bytes, lowest first, as a length; beyond every file when they are not there or negative.
std::size_t LengthAt(std::string_view file, std::size_t at) {
  constexpr std::size_t kTooLong = std::size_t{1} << 40;
  if (at > file.size() || file.size() - at < 4 || ByteAt(file, at + 3) > 0x7F) return kTooLong;
  std::size_t length = 0;
  for (std::size_t i = 4; i-- > 0;)
    length = length << 8 | static_cast<std::size_t>(ByteAt(file, at + i));
  return length;
}

/// Whether texts, each behind its length, fill a value.
bool AreTextsWhole(std::string_view value) {
  std::size_t at = 0;
  while (at < value.size()) {
    const std::size_t length = LengthAt(value, at);
    if (length > value.size()) return false;
    at += 4 + length;
  }
  return at == value.size();
}

/// Whether channels, each a name and sixteen bytes, fill a value up to its last byte, an empty
/// name.
bool AreChannelsWhole(std::string_view value) {
  std::size_t at = 0;
  while (at < value.size() && value[at] != '\0') {
    const std::size_t end = value.find('\0', at);
    if (end == std::string_view::npos) return false;
    at = end + 1 + 16;
  }
  return at + 1 == value.size();
}

/// Whether a small picture has all its pixels.
bool IsPreviewWhole(std::string_view value) {
  const std::size_t width = LengthAt(value, 0), height = LengthAt(value, 4);
  if (width > value.size() || height > value.size()) return false;
  return value.size() == 8 + 4 * width * height;
}

struct ExrType {
  std::string_view name;
  std::size_t length;
};
constexpr ExrType kExrTypes[] = {
    {"box2i", 16},      {"box2f", 16},   {"chromaticities", 32},
    {"compression", 1}, {"double", 8},   {"envmap", 1},
    {"float", 4},       {"int", 4},      {"keycode", 28},
    {"lineOrder", 1},   {"m33f", 36},    {"m33d", 72},
    {"m44f", 64},       {"m44d", 128},   {"rational", 8},
    {"tiledesc", 9},    {"timecode", 8}, {"v2i", 8},
    {"v2f", 8},         {"v2d", 16},     {"v3i", 12},
    {"v3f", 12},        {"v3d", 24},     {"deepImageState", 1},
};

/// Whether a value is as long as its type wants it, and has what it tells about itself. The library
/// goes on where a value of a type that it knows ends by itself, not where its length ends.
bool IsExrValueSound(std::string_view type, std::string_view value) {
  for (const ExrType& known : kExrTypes) {
    if (type == known.name) return value.size() == known.length;
  }
  if (type == "chlist") return AreChannelsWhole(value);
  if (type == "preview") return IsPreviewWhole(value);
  if (type == "floatvector") return value.size() % 4 == 0;
  if (type == "stringvector") return AreTextsWhole(value);
  // A manifest of object names, packed: with how many bytes it unpacks to behind its version. More
  // than a thousandfold is not believed.
  if (type == "idmanifest") return LengthAt(value, 4) / 1000 <= value.size();
  return true;  // texts, and what the library does not know, are as long as they are
}

}  // namespace

std::string SizeRefusal(long long width, long long height, std::uint64_t mostBytes) {
  if (width > kLargestSide || height > kLargestSide || width * height > kMostPixels) {
    return fmt::format(
        "{} x {} pixels are too many (at most {} a side and {} in all); scale it down", width,
        height, kLargestSide, kMostPixels);
  }
  if (static_cast<std::uint64_t>(width * height) <= mostBytes / 4) return {};
  return fmt::format(
      "{} x {} pixels do not fit beside the other pictures; use fewer or smaller ones", width,
      height);
}

std::pair<long long, long long> PngSize(std::string_view file) {
  constexpr std::size_t kWidthAt = 16, kHeightAt = 20;
  if (!file.starts_with("\x89PNG\r\n\x1a\n")) return {0, 0};
  const auto number = [file](std::size_t at) {  // of four bytes, the highest first
    long long value = 0;
    for (std::size_t i = at; i < at + 4; ++i) value = value << 8 | ByteAt(file, i);
    return value;
  };
  return {number(kWidthAt), number(kHeightAt)};
}

std::string NoMemoryText(int width, int height) {
  return fmt::format("no memory for {} x {} pixels; scale it down", width, height);
}

bool AreHdrRowsWhole(std::string_view file, int width, int height) {
  if (!IsHdr(file)) return true;
  if (width < 8 || width >= 32768) return true;  // never run-length coded
  std::size_t at = HdrRowsStart(file);
  for (int y = 0; y < height; ++y) {
    if (at + 4 > file.size()) return false;
    const bool coded = file[at] == 2 && file[at + 1] == 2 && !(file[at + 2] & 0x80);
    if (!coded) return true;
    at += 4;
    for (int values = 4 * width; values > 0;) {
      if (at >= file.size()) return false;
      const int count = static_cast<unsigned char>(file[at++]);
      const bool repeats = count > 128;
      values -= repeats ? count - 128 : count;
      at += repeats ? 1 : static_cast<std::size_t>(count);
    }
  }
  return at <= file.size();
}

bool AreJpegTablesSound(std::string_view file) {
  if (!IsJpeg(file)) return true;
  for (std::size_t at = 0; at + 4 <= file.size();) {
    const int marker = ByteAt(file, at + 1);
    if (ByteAt(file, at) != 0xFF || StandsAlone(marker)) {
      ++at;
      continue;
    }
    if (marker == kEndOfImage) break;
    const std::size_t end =
        at + 2 + static_cast<std::size_t>(ByteAt(file, at + 2) * 256 + ByteAt(file, at + 3));
    if (marker == kDefineTables && !AreTablesSound(file, at + 4, end)) return false;
    at = end;
  }
  return true;
}

bool AreExrHeadersWhole(std::string_view file) {
  constexpr int kSeveralParts = 0x10;  // in the version's second byte
  if (!file.starts_with("\x76\x2f\x31\x01")) return true;
  const bool severalParts = (ByteAt(file, 5) & kSeveralParts) != 0;
  std::size_t at = 8;
  // Each value stands behind its name, type and length; an empty name ends a header, and where
  // there are several, an empty header ends them.
  for (bool isFirst = true; at < file.size();) {
    const std::size_t nameEnd = file.find('\0', at);
    if (nameEnd == at) {
      if (isFirst || !severalParts) return true;
      isFirst = true;
      ++at;
      continue;
    }
    isFirst = false;
    const std::size_t typeEnd = nameEnd < file.size() ? file.find('\0', nameEnd + 1) : nameEnd;
    if (typeEnd >= file.size()) return false;
    const std::size_t length = LengthAt(file, typeEnd + 1), start = typeEnd + 5;
    if (length > file.size() - std::min(start, file.size())) return false;
    const std::string_view type = file.substr(nameEnd + 1, typeEnd - nameEnd - 1);
    if (!IsExrValueSound(type, file.substr(start, length))) return false;
    at = start + length;
  }
  return false;
}

}  // namespace hostkit
