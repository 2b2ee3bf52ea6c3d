#include "hostkit/scene/picture_guards.h"

#include <algorithm>
#include <cstddef>

namespace hostkit {
namespace {

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

}  // namespace

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

}  // namespace hostkit
