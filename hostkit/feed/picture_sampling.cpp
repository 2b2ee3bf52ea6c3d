// Colours of pictures where surfaces show them.
#include "hostkit/feed/picture_sampling.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "hostkit/feed/picture_texels.h"

namespace hostkit {
namespace {

// Sides are cut into so many parts, and one sample is taken in each upright small triangle.
constexpr int kParts = 4;

int Texel(float coordinate, int size, PictureWrap wrap) {
  if (!std::isfinite(coordinate)) return 0;
  return WrapTexel(static_cast<std::int64_t>(std::floor(InTexels(coordinate, size))), size, wrap);
}

std::uint8_t ToChannel(float value) {
  return static_cast<std::uint8_t>(value + 0.5f);
}

}  // namespace

ColorBuf MeanOverTriangle(const SceneImage& image, const Imath::V2f (&uvs)[3], int leastAlpha) {
  const PictureTexels texels(image);
  if (!texels.IsReadable()) return {255, 255, 255, 255};
  Imath::V3f sum(0);
  float alphas = 0, count = 0, seen = 0;
  for (int i = 0; i < kParts; ++i) {
    for (int j = 0; i + j < kParts; ++j, ++count) {
      const float s = (static_cast<float>(i) + 1 / 3.0f) / kParts;
      const float t = (static_cast<float>(j) + 1 / 3.0f) / kParts;
      const Imath::V2f uv = uvs[0] * (1 - s - t) + uvs[1] * s + uvs[2] * t;
      const unsigned char* texel = texels.At(Texel(uv.x, texels.Width(), image.wrapU),
                                             Texel(uv.y, texels.Height(), image.wrapV));
      const int alpha = texels.HasAlphaChannel() ? texel[3] : 255;
      if (alpha < leastAlpha) continue;
      sum += Imath::V3f(texel[0], texel[1], texel[2]);
      alphas += leastAlpha > 0 ? 255.0f : static_cast<float>(alpha);
      ++seen;
    }
  }
  if (seen > 0) sum /= seen;
  return {ToChannel(sum.x), ToChannel(sum.y), ToChannel(sum.z), ToChannel(alphas / count)};
}

}  // namespace hostkit
