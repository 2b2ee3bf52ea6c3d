// Samples into pixels.
#include "hostkit/scene/frame_resolve.h"

#include <Imath/half.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace hostkit {
namespace {

float ToFloat(std::uint16_t bits) {
  half value;
  value.setBits(bits);
  return value;
}

const std::uint16_t* PixelAt(const HBitmapBuffer& buffer, int x, int y) {
  return static_cast<const std::uint16_t*>(buffer.Data()) +
         static_cast<std::ptrdiff_t>(y) * buffer.RowStep() +
         static_cast<std::ptrdiff_t>(x) * buffer.PixelStep();
}

struct Color {
  float channel[3] = {0, 0, 0};  // blue, green, red
};

// Mean of the block of samples whose first is at (x, y).
Color Mean(const HBitmapBuffer& samples, int x, int y, int side) {
  Color sum;
  for (int j = 0; j < side; ++j) {
    const std::uint16_t* sample = PixelAt(samples, x, y + j);
    for (int i = 0; i < side; ++i, sample += samples.PixelStep()) {
      for (int c = 0; c < 3; ++c) sum.channel[c] += ToFloat(sample[c]);
    }
  }
  for (float& value : sum.channel) value /= static_cast<float>(side * side);
  return sum;
}

float Alpha(const Color& onBlack, const Color& onWhite) {
  float passed = 0;
  for (int c = 0; c < 3; ++c) passed += onWhite.channel[c] - onBlack.channel[c];
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
      Color color = Mean(onBlack, sampleX, sampleY, samplesPerSide);
      float alpha = 1;
      if (onWhite) alpha = Alpha(color, Mean(*onWhite, sampleX, sampleY, samplesPerSide));
      for (int c = 0; c < 3; ++c) to[c] = half(std::min(color.channel[c], alpha)).bits();
      to[3] = half(alpha).bits();
    }
  }
}

}  // namespace hostkit
