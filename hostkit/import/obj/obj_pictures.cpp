// Pictures of opacity on pictures of colour.
#include "hostkit/import/obj/obj_pictures.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace hostkit {
namespace {

unsigned char* RowOf(const HBitmapNode& bitmap, int y) {
  return static_cast<unsigned char*>(
      static_cast<HRGBABuffer*>(bitmap.FindBuffer("Color"))->GetData(y));
}

/// One value a pixel, 0 to 255.
struct Grey {
  explicit Grey(const HBitmapNode& picture)
      : width(picture.GetWidth()), height(picture.GetHeight()) {
    bool hasAlpha = false;
    for (int y = 0; y < height; ++y) {
      const unsigned char* row = RowOf(picture, y);
      for (int x = 0; x < width; ++x) hasAlpha = hasAlpha || row[4 * x + 3] < 255;
    }
    values.reserve(static_cast<std::size_t>(width) * height);
    for (int y = 0; y < height; ++y) {
      const unsigned char* row = RowOf(picture, y);
      for (int x = 0; x < width; ++x, row += 4) {
        values.push_back(hasAlpha ? row[3]
                                  : 0.2126f * row[0] + 0.7152f * row[1] + 0.0722f * row[2]);
      }
    }
  }

  float At(int x, int y) const {
    return values[static_cast<std::size_t>(std::clamp(y, 0, height - 1)) * width +
                  std::clamp(x, 0, width - 1)];
  }

  /// Between the middles of four pixels.
  float Between(float x, float y) const {
    const int left = static_cast<int>(std::floor(x)), top = static_cast<int>(std::floor(y));
    const float right = x - static_cast<float>(left), down = y - static_cast<float>(top);
    return std::lerp(std::lerp(At(left, top), At(left + 1, top), right),
                     std::lerp(At(left, top + 1), At(left + 1, top + 1), right), down);
  }

  int width, height;
  std::vector<float> values;
};

}  // namespace

BitmapPtr WithOpacity(BitmapPtr base, const HBitmapNode& opacity) {
  const bool isWhite = !base;
  if (isWhite) base = NewByteBitmap(opacity.GetWidth(), opacity.GetHeight());
  if (!base) return base;
  const Grey grey(opacity);
  const int width = base->GetWidth(), height = base->GetHeight();
  const float stepX = static_cast<float>(grey.width) / static_cast<float>(width);
  const float stepY = static_cast<float>(grey.height) / static_cast<float>(height);
  for (int y = 0; y < height; ++y) {
    unsigned char* pixel = RowOf(*base, y);
    if (isWhite) std::fill(pixel, pixel + std::size_t{4} * width, 255);
    const float atY = (static_cast<float>(y) + 0.5f) * stepY - 0.5f;
    for (int x = 0; x < width; ++x, pixel += 4) {
      const float value = grey.Between((static_cast<float>(x) + 0.5f) * stepX - 0.5f, atY);
      pixel[3] = static_cast<unsigned char>(value + 0.5f);
    }
  }
  return base;
}

}  // namespace hostkit
