// Pixel values: half floats, bytes, and light.
#include "hostkit/services/pixel_values.h"

#include <cmath>

namespace hostkit {

const std::array<unsigned char, 65536>& HalfToByte() {
  static const auto table = [] {
    std::array<unsigned char, 65536> bytes{};
    for (unsigned bits = 0; bits < bytes.size(); ++bits) {
      bytes[bits] = ToByte(FromHalf(static_cast<std::uint16_t>(bits)));
    }
    return bytes;
  }();
  return table;
}

bool HalvesToStraightBytes(const std::uint16_t* from, int count, bool hasAlpha, unsigned char* to) {
  const auto& bytes = HalfToByte();
  constexpr std::uint16_t kHalfOne = 0x3c00, kHalfInfinity = 0x7c00;
  bool clipped = false;
  for (int i = 0; i < count; ++i, from += 4, to += 4) {
    to[3] = hasAlpha ? bytes[from[3]] : 255;
    const float alpha = to[3] == 255 ? 1 : FromHalf(from[3]);
    for (int c = 0; c < 3; ++c) {
      const std::uint16_t bits = from[2 - c];
      if (to[3] == 255) {
        to[c] = bytes[bits];
        clipped |= bits > kHalfOne && bits <= kHalfInfinity;
      } else if (to[3] == 0) {
        to[c] = 0;
      } else {
        const float value = FromHalf(bits) / alpha;
        to[c] = ToByte(value);
        clipped |= value > kOneAfterDivision;
      }
    }
  }
  return clipped;
}

float EncodeSrgb(float linear) {
  return linear <= 0.0031308f ? 12.92f * linear : 1.055f * std::pow(linear, 1 / 2.4f) - 0.055f;
}

float DecodeSrgb(float encoded) {
  return encoded <= 0.04045f ? encoded / 12.92f : std::pow((encoded + 0.055f) / 1.055f, 2.4f);
}

}  // namespace hostkit
