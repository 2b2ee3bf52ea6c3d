// Pictures as the effects take them: from and to finished pictures.
#include "hostkit/effects/byte_image.h"

#include <Imath/half.h>

#include <utility>

#include "hostkit/services/pixel_values.h"

namespace hostkit {

unsigned char* ByteRow(const HBitmapNode& bitmap, int y) {
  auto* buffer = static_cast<HRGBABuffer*>(bitmap.FindBuffer("Color"));
  return static_cast<unsigned char*>(buffer->GetData(y));
}

std::uint16_t* HalfRow(const HBitmapNode& bitmap, int y) {
  auto* buffer = static_cast<HRGBABuffer*>(bitmap.FindBuffer("ColorAlpha"));
  return static_cast<std::uint16_t*>(buffer->GetData(y));
}

ByteImage TakeByteBitmap(BitmapPtr bitmap) {
  unsigned char all = 255;
  for (int y = 0; y < bitmap->GetHeight(); ++y) {
    const unsigned char* row = ByteRow(*bitmap, y);
    for (int x = 0; x < bitmap->GetWidth(); ++x) all &= row[4 * x + 3];
  }
  return {std::move(bitmap), all != 255};
}

ByteImage BytesFromPicture(const Picture& picture, bool* clipped) {
  const HBitmapNode& from = *picture.bitmap;
  ByteImage image{NewByteBitmap(from.GetWidth(), from.GetHeight()), picture.hasAlpha};
  *clipped = false;
  for (int y = 0; image.bitmap && y < from.GetHeight(); ++y) {
    *clipped |= HalvesToStraightBytes(HalfRow(from, y), from.GetWidth(), picture.hasAlpha,
                                      ByteRow(*image.bitmap, y));
  }
  return image;
}

BitmapPtr BytesFromHalves(const HBitmapNode& halves) {
  const auto& bytes = HalfToByte();
  BitmapPtr bitmap = NewByteBitmap(halves.GetWidth(), halves.GetHeight());
  for (int y = 0; bitmap && y < halves.GetHeight(); ++y) {
    const std::uint16_t* from = HalfRow(halves, y);
    unsigned char* to = ByteRow(*bitmap, y);
    for (int x = 0; x < halves.GetWidth(); ++x, from += 4, to += 4) {
      to[0] = bytes[from[2]];
      to[1] = bytes[from[1]];
      to[2] = bytes[from[0]];
      to[3] = bytes[from[3]];
    }
  }
  return bitmap;
}

void PutOnBlack(ByteImage* image) {
  if (!image->hasAlpha) return;
  for (int y = 0; y < image->Height(); ++y) {
    unsigned char* pixel = ByteRow(*image->bitmap, y);
    for (int x = 0; x < image->Width(); ++x, pixel += 4) {
      for (int c = 0; c < 3; ++c) {
        pixel[c] = static_cast<unsigned char>((pixel[c] * pixel[3] + 127) / 255);
      }
      pixel[3] = 255;
    }
  }
  image->hasAlpha = false;
}

void Premultiply(HBitmapNode* halves) {
  constexpr std::uint16_t kHalfOne = 0x3c00;
  for (int y = 0; y < halves->GetHeight(); ++y) {
    std::uint16_t* pixel = HalfRow(*halves, y);
    for (int x = 0; x < halves->GetWidth(); ++x, pixel += 4) {
      if (pixel[3] == kHalfOne) continue;
      const float alpha = FromHalf(pixel[3]);
      for (int c = 0; c < 3; ++c) pixel[c] = half(FromHalf(pixel[c]) * alpha).bits();
    }
  }
}

}  // namespace hostkit
