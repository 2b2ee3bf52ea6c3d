// Samples into pixels.
#include "hostkit/frame/frame_resolve.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "hostkit/services/share_work.h"

namespace hostkit {
namespace {

constexpr std::size_t kRowsAPiece = 128;  // fewer do not pay a thread

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

// The bits of halves moved to the place that a float has them in, without the factor: floats that
// are 2^-112 of their values, so that sums and means of them are rounded as those of the values.
Floats Moved(const std::uint16_t* pixel) {
  return std::bit_cast<Floats>(__builtin_convertvector(Load(pixel), Bits) << 13);
}

// Opaque pixels from 2 x 2 samples each, in rows without gaps: what nearly all frames are made of.
// The samples are summed in the order that Mean has them in.
void ResolveRow(const std::uint16_t* upper, const std::uint16_t* lower, int width,
                std::uint16_t* to) {
  constexpr int kChannels = 4;
  constexpr float kOne = 0x1p-112f;
  const Floats most = {kOne, kOne, kOne, kOne};
  for (int x = 0; x < width; ++x, upper += 2 * kChannels, lower += 2 * kChannels, to += kChannels) {
    const Floats sum =
        Moved(upper) + Moved(upper + kChannels) + Moved(lower) + Moved(lower + kChannels);
    Floats mean = sum * 0.25f;
    mean = mean < most ? mean : most;
    mean[3] = kOne;
    const Bits bits = std::bit_cast<Bits>(mean);
    const HalfPixel halves =
        __builtin_convertvector((bits + 0xfff + (bits >> 13 & 1)) >> 13, HalfPixel);  // to even
    std::memcpy(to, &halves, sizeof halves);
  }
}

}  // namespace

void ResolveSamples(const HBitmapBuffer& onBlack, const HBitmapBuffer* onWhite, int samplesPerSide,
                    const PixelWindow& window, HBitmapBuffer* pixels) {
  const int width = std::min(window.width, pixels->Width() - window.x);
  const int height = std::min(window.height, pixels->Height() - window.y);
  const bool isUsual = samplesPerSide == 2 && !onWhite && onBlack.PixelStep() == 4;
  const auto resolve = [&](int y) {
    auto* to = const_cast<std::uint16_t*>(PixelAt(*pixels, window.x, window.y + y));
    if (isUsual) {
      return ResolveRow(PixelAt(onBlack, 0, 2 * y), PixelAt(onBlack, 0, 2 * y + 1), width, to);
    }
    for (int x = 0; x < width; ++x, to += pixels->PixelStep()) {
      const int sampleX = x * samplesPerSide, sampleY = y * samplesPerSide;
      Floats color = Mean(onBlack, sampleX, sampleY, samplesPerSide);
      float alpha = 1;
      if (onWhite) alpha = Alpha(color, Mean(*onWhite, sampleX, sampleY, samplesPerSide));
      color[3] = alpha;
      const HalfPixel halves = ToHalves(color < alpha ? color : Floats{} + alpha);
      std::memcpy(to, &halves, sizeof halves);
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
