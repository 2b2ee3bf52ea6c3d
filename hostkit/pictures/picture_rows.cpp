// What encoders share: half-float pixels into 8-bit rows, recipes into text.
#include <cstdint>
#include <string>

#include "hostkit/pictures/picture_encoders.h"
#include "hostkit/services/pixel_values.h"

namespace hostkit {

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
  HalvesToStraightBytes(pixels.colors + y * pixels.colorRowStep, pixels.width, true, row);
}

std::string RecipeText(const Recipe& recipe) {
  std::string text;
  for (const auto& [name, value] : recipe) text += name + ": " + value + "\n";
  return text;
}

}  // namespace hostkit
