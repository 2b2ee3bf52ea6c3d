// What is behind a scene: gradients and pictures of a frame's size.
#include "hostkit/frame/backdrop.h"

#include <Imath/half.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace hostkit {
namespace {

using Rgb = std::array<float, 3>;

void Store(const Rgb& color, std::uint16_t* to) {
  for (std::size_t c = 0; c < 3; ++c) to[2 - c] = Imath::half(color[c]).bits();
  to[3] = Imath::half(1.0f).bits();
}

std::uint16_t* RowOf(const HBitmapNode& bitmap, int y) {
  const HBitmapBuffer& pixels = *bitmap.FindBuffer("ColorAlpha");
  return static_cast<std::uint16_t*>(pixels.Data()) +
         static_cast<std::ptrdiff_t>(y) * pixels.RowStep();
}

/// What of a picture's columns or rows goes into one of the frame's.
struct Share {
  int first = 0;
  std::vector<float> weights;  // of it and those that follow; 1 in all
};

/// The shares for `count` of the frame's, each of which is `scale` of the picture's `size` wide:
/// their part of each when the picture shrinks, else between the middles of the nearest two.
std::vector<Share> SharesOf(int size, int count, double scale) {
  const double start = (size - count * scale) / 2, reach = std::max(scale, 1.0);
  std::vector<Share> shares(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    Share& share = shares[static_cast<std::size_t>(i)];
    const double middle = start + (i + 0.5) * scale;
    const double low = middle - reach / 2, high = middle + reach / 2;
    share.first = std::clamp(static_cast<int>(std::floor(low)), 0, size - 1);
    const int last = std::clamp(static_cast<int>(std::ceil(high)) - 1, share.first, size - 1);
    double sum = 0;
    for (int k = share.first; k <= last; ++k) {
      share.weights.push_back(
          static_cast<float>(std::max(std::min(k + 1.0, high) - std::max<double>(k, low), 0.0)));
      sum += share.weights.back();
    }
    for (float& weight : share.weights) {
      weight =
          sum > 0 ? static_cast<float>(weight / sum) : 1 / static_cast<float>(share.weights.size());
    }
  }
  return shares;
}

Rgb ColorAt(const HBitmapBuffer& colors, const Share& across, const Share& down) {
  Rgb sum = {};
  for (std::size_t j = 0; j < down.weights.size(); ++j) {
    const auto* from =
        static_cast<const unsigned char*>(colors.Data()) +
        static_cast<std::ptrdiff_t>(down.first + static_cast<int>(j)) * colors.RowStep() +
        static_cast<std::ptrdiff_t>(across.first) * colors.PixelStep();
    for (const float weight : across.weights) {
      const float share = weight * down.weights[j] * static_cast<float>(from[3]) / (255.0f * 255);
      for (std::size_t c = 0; c < 3; ++c) sum[c] += share * static_cast<float>(from[c]);
      from += colors.PixelStep();
    }
  }
  return sum;
}

}  // namespace

BitmapPtr MakeGradient(int width, int height, const float top[3], const float bottom[3]) {
  BitmapPtr bitmap = NewHalfBitmap(width, height);
  for (int y = 0; bitmap && y < height; ++y) {
    const float share = (static_cast<float>(y) + 0.5f) / static_cast<float>(height);
    Rgb color;
    for (std::size_t c = 0; c < 3; ++c) color[c] = top[c] + (bottom[c] - top[c]) * share;
    std::uint16_t* to = RowOf(*bitmap, y);
    for (int x = 0; x < width; ++x, to += 4) Store(color, to);
  }
  return bitmap;
}

BitmapPtr CoverWith(const HBitmapNode& picture, int width, int height, float mean[3]) {
  BitmapPtr bitmap = NewHalfBitmap(width, height);
  if (!bitmap) return nullptr;
  const HBitmapBuffer& colors = *picture.FindBuffer("Color");
  const double scale = std::min(static_cast<double>(picture.GetWidth()) / width,
                                static_cast<double>(picture.GetHeight()) / height);
  const std::vector<Share> columns = SharesOf(picture.GetWidth(), width, scale);
  const std::vector<Share> rows = SharesOf(picture.GetHeight(), height, scale);
  std::array<double, 3> sum = {};
  for (int y = 0; y < height; ++y) {
    std::uint16_t* to = RowOf(*bitmap, y);
    for (int x = 0; x < width; ++x, to += 4) {
      const Rgb color =
          ColorAt(colors, columns[static_cast<std::size_t>(x)], rows[static_cast<std::size_t>(y)]);
      Store(color, to);
      for (std::size_t c = 0; c < 3; ++c) sum[c] += color[c];
    }
  }
  for (std::size_t c = 0; c < 3; ++c) {
    mean[c] = static_cast<float>(sum[c] / (static_cast<double>(width) * height));
  }
  return bitmap;
}

}  // namespace hostkit
