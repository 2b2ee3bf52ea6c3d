// Pictures as the effects take them: 8 bits a channel, straight alpha.
#pragma once

#include <cstdint>

#include "hostkit/pictures/picture.h"
#include "hostkit/services/bitmap_ptr.h"

namespace hostkit {

/// A bitmap with one "Color" buffer: red, green, blue, alpha bytes, top row first. Without
/// `hasAlpha` every alpha is 255.
struct ByteImage {
  BitmapPtr bitmap;       ///< Null where there is no image.
  bool hasAlpha = false;  ///< Whether any alpha may be below 255.

  int Width() const { return bitmap->GetWidth(); }    ///< Pixels; the bitmap is there.
  int Height() const { return bitmap->GetHeight(); }  ///< Pixels; the bitmap is there.
};

/// First byte of row `y` of a bitmap's "Color" buffer.
unsigned char* ByteRow(const HBitmapNode& bitmap, int y);
/// First half float (blue, green, red, alpha) of row `y` of a bitmap's newest "ColorAlpha" buffer.
std::uint16_t* HalfRow(const HBitmapNode& bitmap, int y);

/// A bitmap with a "Color" buffer (as LoadPicture gives it) as an image; alpha is looked at.
ByteImage TakeByteBitmap(BitmapPtr bitmap);

/// A finished picture, its colours divided by alpha where there is one. What is fully transparent
/// becomes black. `*clipped` tells whether a colour was above 1, which 8 bits do not hold. An image
/// without bitmap when memory runs out.
ByteImage BytesFromPicture(const Picture& picture, bool* clipped);

/// What the module made ("ColorAlpha", straight) as bytes. Null without memory.
BitmapPtr BytesFromHalves(const HBitmapNode& halves);

/// The picture on black: colours times alpha, alpha 255.
void PutOnBlack(ByteImage* image);

/// Multiplies the colours of a "ColorAlpha" buffer by its alpha, which makes what the module hands
/// out the colours of a Picture.
void Premultiply(HBitmapNode* halves);

}  // namespace hostkit
