// Samples into pixels.
#include "hostkit/frame/frame_resolve.h"

#include <algorithm>

#include "hostkit/frame/half_pixel.h"
#include "hostkit/services/share_work.h"

namespace hostkit {
namespace {

constexpr std::size_t kRowsAPiece = 128;  // fewer do not pay a thread

// Mean of the block of samples whose first is at (x, y).
Floats Mean(const HBitmapBuffer& samples, int x, int y, int side) {
  Floats sum = {0, 0, 0, 0};
  for (int j = 0; j < side; ++j) {
    const std::uint16_t* sample = PixelAt(samples, x, y + j);
    for (int i = 0; i < side; ++i, sample += samples.PixelStep()) {
      sum += ToFloats(LoadPixel(sample));
    }
  }
  return sum / static_cast<float>(side * side);
}

float Alpha(const Floats& onBlack, const Floats& onWhite) {
  float passed = 0;
  for (int c = 0; c < 3; ++c) passed += onWhite[c] - onBlack[c];
  return std::clamp(1 - passed / 3, 0.0f, 1.0f);
}

}  // namespace

void ResolveSamples(const HBitmapBuffer& onBlack, const HBitmapBuffer& onWhite, int samplesPerSide,
                    const PixelWindow& window, HBitmapBuffer* pixels) {
  const int width = std::min(window.width, pixels->Width() - window.x);
  const int height = std::min(window.height, pixels->Height() - window.y);
  const auto resolve = [&](int y) {
    std::uint16_t* to = PixelAt(*pixels, window.x, window.y + y);
    for (int x = 0; x < width; ++x, to += pixels->PixelStep()) {
      const int sampleX = x * samplesPerSide, sampleY = y * samplesPerSide;
      Floats color = Mean(onBlack, sampleX, sampleY, samplesPerSide);
      const float alpha = Alpha(color, Mean(onWhite, sampleX, sampleY, samplesPerSide));
      color[3] = alpha;
      StorePixel(color < alpha ? color : Floats{} + alpha, to);
    }
  };
  ShareRanges(static_cast<std::size_t>(std::max(height, 0)), kRowsAPiece,
              [&](std::size_t begin, std::size_t end) {
                for (std::size_t y = begin; y < end; ++y) resolve(static_cast<int>(y));
              });
}

void LayPixelsOver(const HBitmapBuffer& layer, int x, int y, HBitmapBuffer* pixels) {
  const int left = std::max(0, x), right = std::min(pixels->Width(), x + layer.Width());
  const int top = std::max(0, y), bottom = std::min(pixels->Height(), y + layer.Height());
  for (int row = top; row < bottom; ++row) {
    for (int column = left; column < right; ++column) {
      const Floats over = ToFloats(LoadPixel(PixelAt(layer, column - x, row - y)));
      if (over[3] == 0) continue;
      std::uint16_t* to = PixelAt(*pixels, column, row);
      StorePixel(over + ToFloats(LoadPixel(to)) * (1 - over[3]), to);
    }
  }
}

void PutPixelsBehind(const HBitmapBuffer& backdrop, HBitmapBuffer* pixels) {
  for (int y = 0; y < pixels->Height(); ++y) {
    for (int x = 0; x < pixels->Width(); ++x) {
      std::uint16_t* to = PixelAt(*pixels, x, y);
      const Floats over = ToFloats(LoadPixel(to));
      if (over[3] == 1) continue;
      StorePixel(over + ToFloats(LoadPixel(PixelAt(backdrop, x, y))) * (1 - over[3]), to);
    }
  }
}

}  // namespace hostkit
