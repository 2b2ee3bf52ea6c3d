// The texels of a scene's pictures, as surfaces show them.
#include "hostkit/feed/picture_texels.h"

#include <algorithm>
#include <cmath>

namespace hostkit {
namespace {

// Coordinates farther out, in texels, are no whole numbers as floats any more.
constexpr float kFarthest = 1 << 24;

}  // namespace

float InTexels(float coordinate, int count) {
  return std::clamp(coordinate * static_cast<float>(count), -kFarthest, kFarthest);
}

int WrapTexel(std::int64_t index, int count, PictureWrap wrap) {
  if (wrap == PictureWrap::kClamp) {
    return static_cast<int>(std::clamp<std::int64_t>(index, 0, count - 1));
  }
  const std::int64_t period = wrap == PictureWrap::kMirror ? std::int64_t{2} * count : count;
  const std::int64_t rest = (index % period + period) % period;
  return static_cast<int>(rest < count ? rest : period - 1 - rest);
}

PictureTexels::PictureTexels(const SceneImage& image)
    : m_isNearest(image.isNearest), m_wrapU(image.wrapU), m_wrapV(image.wrapV) {
  const HBitmapBuffer* colors = image.bitmap ? image.bitmap->FindBuffer("Color") : nullptr;
  if (!colors || colors->Type() != HBitmapBuffer::kByteChannel || colors->Channels() < 3) return;
  m_data = static_cast<const unsigned char*>(colors->Data());
  m_width = colors->Width();
  m_height = colors->Height();
  m_rowStep = colors->RowStep();
  m_pixelStep = colors->PixelStep();
  m_hasAlpha = colors->Channels() > 3;
}

bool PictureTexels::HasAlpha() const {
  if (!m_hasAlpha) return false;
  for (int y = 0; y < m_height; ++y) {
    const unsigned char* alpha = At(0, y) + 3;
    for (int x = 0; x < m_width; ++x, alpha += m_pixelStep) {
      if (*alpha != 255) return true;
    }
  }
  return false;
}

Imath::V4f PictureTexels::Color(std::int64_t x, std::int64_t y) const {
  const unsigned char* texel = At(WrapTexel(x, m_width, m_wrapU), WrapTexel(y, m_height, m_wrapV));
  return Imath::V4f(texel[0], texel[1], texel[2], m_hasAlpha ? texel[3] : 255);
}

Imath::V4f PictureTexels::Sample(const Imath::V2f& uv) const {
  if (!std::isfinite(uv.x) || !std::isfinite(uv.y)) return Color(0, 0);
  const float x = InTexels(uv.x, m_width) - (m_isNearest ? 0.0f : 0.5f);
  const float y = InTexels(uv.y, m_height) - (m_isNearest ? 0.0f : 0.5f);
  const float left = std::floor(x), top = std::floor(y);
  const auto column = static_cast<std::int64_t>(left), row = static_cast<std::int64_t>(top);
  if (m_isNearest) return Color(column, row);
  const float s = x - left, t = y - top;
  return (Color(column, row) * (1 - s) + Color(column + 1, row) * s) * (1 - t) +
         (Color(column, row + 1) * (1 - s) + Color(column + 1, row + 1) * s) * t;
}

}  // namespace hostkit
