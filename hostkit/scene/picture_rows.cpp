// Half-float pixels into 8-bit rows.
#include <Imath/half.h>

#include <algorithm>

#include "hostkit/scene/picture_encoders.h"
#include "hostkit/services/half_bytes.h"

namespace hostkit {
namespace {

float ToFloat(std::uint16_t bits) {
  half value;
  value.setBits(bits);
  return value;
}

}  // namespace

void RowToRgb(const PicturePixels& pixels, int y, unsigned char* row) {
  const auto& bytes = HalfToByte();
  const std::uint16_t* from = pixels.colors + y * pixels.colorRowStep;
  for (int x = 0; x < pixels.width; ++x, from += 4, row += 3) {
    row[0] = bytes[from[2]];
    row[1] = bytes[from[1]];
    row[2] = bytes[from[0]];
  }
}

void RowToStraightRgba(const PicturePixels& pixels, int y, unsigned char* row) {
  const auto& bytes = HalfToByte();
  const std::uint16_t* from = pixels.colors + y * pixels.colorRowStep;
  for (int x = 0; x < pixels.width; ++x, from += 4, row += 4) {
    row[3] = bytes[from[3]];
    float alpha = row[3] == 255 ? 1.0f : ToFloat(from[3]);
    for (int c = 0; c < 3; ++c) {
      std::uint16_t value = from[2 - c];
      row[c] = row[3] == 255 ? bytes[value] : row[3] ? ToByte(ToFloat(value) / alpha) : 0;
    }
  }
}

}  // namespace hostkit
