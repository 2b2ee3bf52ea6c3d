// Pixel values: half floats, bytes, and light.
#pragma once

#include <Imath/half.h>

#include <array>
#include <cstdint>

namespace hostkit {

/// A colour of 1 that was multiplied by alpha, rounded to a half float and divided again can come
/// back this much larger.
constexpr float kOneAfterDivision = 1 + 1.0f / 512;

inline float FromHalf(std::uint16_t bits) {
  return Imath::half(Imath::half::FromBits, bits);
}

/// 0 to 1 into 0 to 255, rounded; what is not a number becomes 0.
inline unsigned char ToByte(float value) {
  if (!(value > 0)) return 0;
  return value >= 1 ? 255 : static_cast<unsigned char>(value * 255 + 0.5f);
}

/// Every half float's byte by its bits: 64 KiB, made on first use. Four times faster than
/// converting each pixel.
const std::array<unsigned char, 65536>& HalfToByte();

/// Half floats (blue, green, red, alpha) with premultiplied alpha into bytes (red, green, blue,
/// alpha), colours divided by alpha. What is fully transparent becomes black. Without `hasAlpha`
/// every alpha counts as 1. Tells whether a colour was above 1.
bool HalvesToStraightBytes(const std::uint16_t* from, int count, bool hasAlpha, unsigned char* to);

/// Scene-linear light as sRGB encodes it (IEC 61966-2-1); above 1 its power goes on, below 0 its
/// straight line.
float EncodeSrgb(float linear);
/// The reverse.
float DecodeSrgb(float encoded);

}  // namespace hostkit
