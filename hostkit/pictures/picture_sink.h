// Where decoders put their pixels.
#pragma once

#include <Imath/half.h>

#include <cstdint>
#include <string>
#include <utility>

#include "hostkit/pictures/picture_in.h"
#include "hostkit/services/bitmap_ptr.h"

namespace hostkit {

/// A picture that is being decoded. A decoder calls Begin once it knows the size, and before it
/// makes room for pixels itself; then it puts every pixel once.
class PictureSink {
 public:
  /// Pictures of more than `mostBytes`, at four bytes a pixel, are refused.
  PictureSink(PixelKind kind, std::uint64_t mostBytes) : m_kind(kind), m_mostBytes(mostBytes) {}

  /// Whether decoders that can do without should not throw away what bytes do not hold.
  bool WantsHalves() const { return m_kind == PixelKind::kHalves; }
  /// False with the reason and the remedy for a picture that has no pixels, is too large or finds
  /// no memory.
  bool Begin(long long width, long long height, std::string* reason);
  /// From now on half floats are scene-linear light.
  void SetLinear();
  /// Pixels, after Begin.
  int Width() const { return m_width; }
  int Height() const { return m_height; }

  /// `count` pixels from (x, y) on, inside the picture: red, green, blue, straight alpha.
  void PutBytes(int x, int y, const unsigned char* rgba, int count);
  /// The same of half floats, red, green, blue, alpha. Light without coverage (a flame, a glow) has
  /// no straight colour, and is kept as it is.
  void PutHalves(int x, int y, const Imath::half* rgba, int count, bool isPremultiplied);

  /// Of what it was given.
  PictureFacts& Facts() { return m_facts; }
  BitmapPtr Take() { return std::move(m_bitmap); }

 private:
  void PutHalfAsByte(const Imath::half* rgba, bool isPremultiplied, unsigned char* to);
  void PutHalfAsHalf(const Imath::half* rgba, bool isPremultiplied, std::uint16_t* to);

  const PixelKind m_kind;
  const std::uint64_t m_mostBytes;
  int m_width = 0, m_height = 0;
  BitmapPtr m_bitmap;
  HRGBABuffer* m_buffer = nullptr;  // of the bitmap
  PictureFacts m_facts;
};

}  // namespace hostkit
