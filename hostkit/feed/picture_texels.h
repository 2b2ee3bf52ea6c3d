// The texels of a scene's pictures, as surfaces show them.
#pragma once

#include <Imath/ImathVec.h>

#include <cstddef>
#include <cstdint>

#include "hostkit/scene/scene.h"

namespace hostkit {

/// The texel, from 0 to `count` - 1, that a picture of `count` texels shows at `index` when it goes
/// on by `wrap`.
int WrapTexel(std::int64_t index, int count, PictureWrap wrap);

/// A texture coordinate in texels of a picture of `count`. Coordinates farther out than floats are
/// whole numbers come back nearer.
float InTexels(float coordinate, int count);

/// Reads a picture, which must live longer.
class PictureTexels {
 public:
  explicit PictureTexels(const SceneImage& image);

  /// False without pixels, and for such as are not bytes of three or four channels; nothing else
  /// may be called then.
  bool IsReadable() const { return m_data != nullptr; }
  int Width() const { return m_width; }
  int Height() const { return m_height; }
  bool HasAlphaChannel() const { return m_hasAlpha; }
  /// Whether some texel is not opaque.
  bool HasAlpha() const;
  /// Red, green, blue and, where the picture has it, alpha; inside the picture.
  const unsigned char* At(int x, int y) const {
    return m_data + static_cast<std::ptrdiff_t>(y) * m_rowStep +
           static_cast<std::ptrdiff_t>(x) * m_pixelStep;
  }
  /// Red, green, blue and alpha, 0 to 255, at texture coordinates however far outside: by the
  /// picture's wrap modes, blending the four texels around, or the nearest one alone.
  Imath::V4f Sample(const Imath::V2f& uv) const;

 private:
  Imath::V4f Color(std::int64_t x, std::int64_t y) const;

  const unsigned char* m_data = nullptr;
  int m_width = 0, m_height = 0, m_rowStep = 0, m_pixelStep = 0;
  bool m_hasAlpha = false, m_isNearest = false;
  PictureWrap m_wrapU, m_wrapV;
};

}  // namespace hostkit
