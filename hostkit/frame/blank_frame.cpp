// Finished frames that show nothing.
#include "hostkit/frame/blank_frame.h"

#include <Imath/half.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "hostkit/services/pixel_values.h"

namespace hostkit {
namespace {

using Halves = std::array<std::uint16_t, 4>;  // blue, green, red, alpha

/// Bits that a background may differ by from its own colour: how drivers round on reading back, and
/// averaging. A step of a byte is eight of them at least.
constexpr int kRounding = 2;

std::uint16_t HalfBits(float value) {
  return Imath::half(static_cast<float>(ToByte(value)) / 255).bits();
}

/// Halves of 0 to 1 are in the order of their bits.
bool IsNear(const Halves& pixel, const Halves& background, std::size_t channels) {
  for (std::size_t c = 0; c < channels; ++c) {
    if (std::abs(pixel[c] - background[c]) > kRounding) return false;
  }
  return true;
}

bool IsRowBlank(const std::uint16_t* row, int width, std::ptrdiff_t step, const Halves& background,
                std::size_t channels) {
  for (int x = 0; x < width; ++x, row += step) {
    Halves pixel;
    std::memcpy(pixel.data(), row, sizeof pixel);
    if (pixel != background && !IsNear(pixel, background, channels)) return false;
  }
  return true;
}

}  // namespace

bool IsBlank(const Picture& picture, const FrameSettings& settings) {
  const HBitmapBuffer& pixels = *picture.bitmap->FindBuffer("ColorAlpha");
  const auto* data = static_cast<const std::uint16_t*>(pixels.Data());
  Halves background = {};
  std::size_t channels = 4;
  if (!settings.transparentBackground) {
    channels = 3;  // alpha means nothing
    background = {HalfBits(settings.background[2]), HalfBits(settings.background[1]),
                  HalfBits(settings.background[0]), HalfBits(1)};
  }
  const int height = picture.bitmap->GetHeight();
  for (int i = 0; i < height; ++i) {
    // From the middle outwards: that is where models are.
    const int y = height / 2 + (i % 2 == 0 ? i / 2 : -(i + 1) / 2);
    const std::uint16_t* row = data + static_cast<std::ptrdiff_t>(y) * pixels.RowStep();
    if (!IsRowBlank(row, picture.bitmap->GetWidth(), pixels.PixelStep(), background, channels)) {
      return false;
    }
  }
  return true;
}

}  // namespace hostkit
