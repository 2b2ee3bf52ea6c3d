// Differences of pictures, byte by byte and block by block.
#include "apps/work/compare/picture_difference.h"

#include <Imath/half.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "hostkit/pictures/picture.h"
#include "hostkit/pictures/picture_in.h"

namespace gl3 {
namespace {

/// A channel further apart than this, of 255, is taken to be seen.
constexpr int kSeen = 16;
/// Pixels a side that are one pixel of the shrunk pictures.
constexpr int kShrink = 4;

int Apart(std::uint8_t a, std::uint8_t b) {
  return std::abs(int{a} - int{b});
}

/// The largest difference, of 1, of the means of the block whose first pixel is (left, top).
double BlockDifference(const Pixels& one, const Pixels& other, int left, int top) {
  int sums[4] = {};
  for (int y = top; y < top + kShrink; ++y) {
    for (int x = left; x < left + kShrink; ++x) {
      const std::size_t at = (static_cast<std::size_t>(y) * one.width + x) * 4;
      for (int c = 0; c < 4; ++c) sums[c] += int{one.rgba[at + c]} - int{other.rgba[at + c]};
    }
  }
  int largest = 0;
  for (const int sum : sums) largest = std::max(largest, std::abs(sum));
  return largest / (255.0 * kShrink * kShrink);
}

}  // namespace

bool ReadPixels(const std::string& path, Pixels* pixels, std::string* error) {
  const hostkit::BitmapPtr bitmap = hostkit::LoadPicture(path, error);
  if (!bitmap) return false;
  auto* const buffer = static_cast<HRGBABuffer*>(bitmap->FindBuffer("Color"));
  pixels->width = bitmap->GetWidth();
  pixels->height = bitmap->GetHeight();
  const std::size_t row = static_cast<std::size_t>(pixels->width) * 4;
  pixels->rgba.resize(row * pixels->height);
  for (int y = 0; y < pixels->height; ++y) {
    std::memcpy(&pixels->rgba[row * y], buffer->GetData(y), row);
  }
  return true;
}

PictureDifference Compare(const Pixels& one, const Pixels& other) {
  PictureDifference difference;
  std::uint64_t sum = 0, seen = 0;
  int largest = 0;
  for (std::size_t at = 0; at < one.rgba.size(); at += 4) {
    int most = 0;
    for (std::size_t c = at; c < at + 4; ++c) {
      const int apart = Apart(one.rgba[c], other.rgba[c]);
      sum += apart;
      most = std::max(most, apart);
    }
    largest = std::max(largest, most);
    if (most > kSeen) ++seen;
  }
  if (largest == 0) return {true};
  difference.seen = 400.0 * seen / one.rgba.size();
  difference.mean = sum / (255.0 * one.rgba.size());
  difference.largest = largest / 255.0;
  for (int y = 0; y + kShrink <= one.height; y += kShrink) {
    for (int x = 0; x + kShrink <= one.width; x += kShrink) {
      difference.shrunk = std::max(difference.shrunk, BlockDifference(one, other, x, y));
    }
  }
  return difference;
}

bool WriteDifference(const std::string& path, const Pixels& one, const Pixels& other,
                     std::string* error) {
  hostkit::Picture picture;
  picture.bitmap = hostkit::NewHalfBitmap(one.width, one.height);
  if (!picture.bitmap) {
    *error = path + ": there is no memory for the difference";
    return false;
  }
  auto* const buffer = static_cast<HRGBABuffer*>(picture.bitmap->FindBuffer("ColorAlpha"));
  for (int y = 0; y < one.height; ++y) {
    auto* const row = static_cast<Imath::half*>(buffer->GetData(y));
    for (int x = 0; x < one.width; ++x) {
      const std::size_t at = (static_cast<std::size_t>(y) * one.width + x) * 4;
      for (int c = 0; c < 3; ++c) {  // half floats lie blue first
        const float apart = Apart(one.rgba[at + 2 - c], other.rgba[at + 2 - c]) * 4 / 255.0f;
        row[x * 4 + c] = std::min(apart, 1.0f);
      }
      row[x * 4 + 3] = 1.0f;
    }
  }
  return hostkit::WritePicture(path, picture, {}, {}, error);
}

}  // namespace gl3
