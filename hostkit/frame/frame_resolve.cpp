// Samples into pixels.
#include "hostkit/frame/frame_resolve.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace hostkit {
namespace {

// Blue, green, red, alpha of a pixel, all four in one step: vectors of the compiler's own.
using HalfPixel __attribute__((vector_size(8))) = std::uint16_t;
using Floats __attribute__((vector_size(16))) = float;
using Bits __attribute__((vector_size(16))) = std::uint32_t;

// Half floats in 0 to 1, which is what frames hold, into floats and back: their bits move to the
// place that a float has them in, and a factor makes up for the difference of the exponents.
Floats ToFloats(HalfPixel halves) {
  return std::bit_cast<Floats>(__builtin_convertvector(halves, Bits) << 13) * 0x1p112f;
}

HalfPixel ToHalves(Floats values) {
  const Bits bits = std::bit_cast<Bits>(values * 0x1p-112f);
  return __builtin_convertvector((bits + 0xfff + (bits >> 13 & 1)) >> 13, HalfPixel);  // to even
}

const std::uint16_t* PixelAt(const HBitmapBuffer& buffer, int x, int y) {
  return static_cast<const std::uint16_t*>(buffer.Data()) +
         static_cast<std::ptrdiff_t>(y) * buffer.RowStep() +
         static_cast<std::ptrdiff_t>(x) * buffer.PixelStep();
}

HalfPixel Load(const std::uint16_t* pixel) {
  HalfPixel halves;
  std::memcpy(&halves, pixel, sizeof halves);
  return halves;
}

// Mean of the block of samples whose first is at (x, y).
Floats Mean(const HBitmapBuffer& samples, int x, int y, int side) {
  Floats sum = {0, 0, 0, 0};
  for (int j = 0; j < side; ++j) {
    const std::uint16_t* sample = PixelAt(samples, x, y + j);
    for (int i = 0; i < side; ++i, sample += samples.PixelStep()) sum += ToFloats(Load(sample));
  }
  return sum / static_cast<float>(side * side);
}

float Alpha(const Floats& onBlack, const Floats& onWhite) {
  float passed = 0;
  for (int c = 0; c < 3; ++c) passed += onWhite[c] - onBlack[c];
  return std::clamp(1 - passed / 3, 0.0f, 1.0f);
}

}  // namespace

void ResolveSamples(const HBitmapBuffer& onBlack, const HBitmapBuffer* onWhite, int samplesPerSide,
                    const PixelWindow& window, HBitmapBuffer* pixels) {
  int width = std::min(window.width, pixels->Width() - window.x);
  int height = std::min(window.height, pixels->Height() - window.y);
  for (int y = 0; y < height; ++y) {
    auto* to = const_cast<std::uint16_t*>(PixelAt(*pixels, window.x, window.y + y));
    for (int x = 0; x < width; ++x, to += pixels->PixelStep()) {
      int sampleX = x * samplesPerSide, sampleY = y * samplesPerSide;
      Floats color = Mean(onBlack, sampleX, sampleY, samplesPerSide);
      float alpha = 1;
      if (onWhite) alpha = Alpha(color, Mean(*onWhite, sampleX, sampleY, samplesPerSide));
      color[3] = alpha;
      const HalfPixel halves = ToHalves(color < alpha ? color : Floats{} + alpha);
      std::memcpy(to, &halves, sizeof halves);
    }
  }
}

void LayPixelsOver(const HBitmapBuffer& layer, int x, int y, HBitmapBuffer* pixels) {
  const int left = std::max(0, x), right = std::min(pixels->Width(), x + layer.Width());
  const int top = std::max(0, y), bottom = std::min(pixels->Height(), y + layer.Height());
  for (int row = top; row < bottom; ++row) {
    for (int column = left; column < right; ++column) {
      const Floats over = ToFloats(Load(PixelAt(layer, column - x, row - y)));
      if (over[3] == 0) continue;
      auto* to = const_cast<std::uint16_t*>(PixelAt(*pixels, column, row));
      const HalfPixel mixed = ToHalves(over + ToFloats(Load(to)) * (1 - over[3]));
      std::memcpy(to, &mixed, sizeof mixed);
    }
  }
}

void PutPixelsBehind(const HBitmapBuffer& backdrop, HBitmapBuffer* pixels) {
  for (int y = 0; y < pixels->Height(); ++y) {
    for (int x = 0; x < pixels->Width(); ++x) {
      auto* to = const_cast<std::uint16_t*>(PixelAt(*pixels, x, y));
      const Floats over = ToFloats(Load(to));
      if (over[3] == 1) continue;
      const HalfPixel mixed =
          ToHalves(over + ToFloats(Load(PixelAt(backdrop, x, y))) * (1 - over[3]));
      std::memcpy(to, &mixed, sizeof mixed);
    }
  }
}

}  // namespace hostkit
