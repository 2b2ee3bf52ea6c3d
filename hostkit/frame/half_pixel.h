// Pixels of half floats, all four channels in one step.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "host/Bitmap.h"

namespace hostkit {

/// Blue, green, red, alpha of a pixel: vectors of the compiler's own.
using HalfPixel __attribute__((vector_size(8))) = std::uint16_t;
using Floats __attribute__((vector_size(16))) = float;
using FloatBits __attribute__((vector_size(16))) = std::uint32_t;

/// Half floats in 0 to 1, which is what frames hold, into floats and back: their bits move to the
/// place that a float has them in, and a factor makes up for the difference of the exponents.
inline Floats ToFloats(HalfPixel halves) {
  return std::bit_cast<Floats>(__builtin_convertvector(halves, FloatBits) << 13) * 0x1p112f;
}

/// Rounded to the nearest, in the middle to even.
inline HalfPixel ToHalves(Floats values) {
  const FloatBits bits = std::bit_cast<FloatBits>(values * 0x1p-112f);
  return __builtin_convertvector((bits + 0xfff + (bits >> 13 & 1)) >> 13, HalfPixel);
}

/// The halves of the pixel at (x, y).
inline std::uint16_t* PixelAt(const HBitmapBuffer& buffer, int x, int y) {
  return static_cast<std::uint16_t*>(buffer.Data()) +
         static_cast<std::ptrdiff_t>(y) * buffer.RowStep() +
         static_cast<std::ptrdiff_t>(x) * buffer.PixelStep();
}

inline HalfPixel LoadPixel(const std::uint16_t* pixel) {
  HalfPixel halves;
  std::memcpy(&halves, pixel, sizeof halves);
  return halves;
}

inline void StorePixel(Floats values, std::uint16_t* pixel) {
  const HalfPixel halves = ToHalves(values);
  std::memcpy(pixel, &halves, sizeof halves);
}

}  // namespace hostkit
