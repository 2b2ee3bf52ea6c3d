// One row of a merge, and the division of a row among threads.
#include "shader/RowMerge.h"

#include <half.h>

#include <cstring>

const HalfTable& ByteHalves() {
  static const HalfTable table = [] {
    HalfTable halves{};
    for (std::size_t byte = 0; byte < halves.size(); ++byte) {
      halves[byte] = half(static_cast<float>(byte) / 255.0f).bits();
    }
    return halves;
  }();
  return table;
}

ColumnShare StaticShare(int thread, int threads, int columns) {
  const int each = columns / threads;
  const int over = columns % threads;
  const int first = thread < over ? thread * (each + 1) : thread * each + over;
  return {first, first + each + (thread < over ? 1 : 0)};
}

namespace {

constexpr int kAlphaPlace = 48;  // of a pixel's channels as one word, blue lowest
constexpr std::uint64_t kAlphaMask = std::uint64_t{0xffff} << kAlphaPlace;

/// Blue, green and red of a pixel, whose bytes come as one word, red lowest.
std::uint64_t Color(const std::uint16_t* halves, std::uint32_t rgba) {
  return std::uint64_t{halves[rgba >> 16 & 255]} | std::uint64_t{halves[rgba >> 8 & 255]} << 16 |
         std::uint64_t{halves[rgba & 255]} << 32;
}

}  // namespace

// Pixels are read and stored as words, and everything else lives in locals: the compiler cannot
// know that what is stored is not the record. With fields and bytes this took 1.3 times as long.
void MergeColumns(const HalfTable& table, const RowMerge& row, ColumnShare share) {
  const std::uint16_t* const halves = table.data();
  const bool replaces = row.replaces;
  const std::ptrdiff_t step = row.pixelStep;
  const unsigned char* from = row.rgba + std::ptrdiff_t{share.first} * 4;
  const unsigned char* const end = row.rgba + std::ptrdiff_t{share.end} * 4;
  std::uint16_t* to = row.target + share.first * step;
  for (; from < end; from += 4, to += step) {
    std::uint32_t rgba = 0;
    std::memcpy(&rgba, from, sizeof rgba);
    std::uint64_t pixel = Color(halves, rgba);
    if (replaces) {
      pixel |= std::uint64_t{halves[rgba >> 24]} << kAlphaPlace;
    } else {
      if ((rgba & 0xffffff) == 0) continue;
      std::uint64_t former = 0;
      std::memcpy(&former, to, sizeof former);
      pixel |= former & kAlphaMask;
    }
    std::memcpy(to, &pixel, sizeof pixel);
  }
}
