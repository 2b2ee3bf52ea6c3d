// Colours of pictures where surfaces show them.
#include "hostkit/feed/picture_sampling.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace hostkit {
namespace {

// Sides are cut into so many parts, and one sample is taken in each upright small triangle.
constexpr int kParts = 4;

int Texel(float coordinate, int size, PictureWrap wrap) {
  if (!std::isfinite(coordinate)) return 0;
  if (wrap == PictureWrap::kRepeat) coordinate -= std::floor(coordinate);
  if (wrap == PictureWrap::kMirror) {
    coordinate = std::abs(coordinate - 2 * std::round(coordinate / 2));
  }
  return static_cast<int>(
      std::clamp(coordinate * static_cast<float>(size), 0.0f, static_cast<float>(size - 1)));
}

}  // namespace

ColorBuf MeanOverTriangle(const SceneImage& image, const Imath::V2f (&uvs)[3]) {
  const HBitmapBuffer* colors = image.bitmap ? image.bitmap->FindBuffer("Color") : nullptr;
  if (!colors || !colors->Data() || colors->Type() != HBitmapBuffer::kByteChannel ||
      colors->Channels() < 3) {
    return {255, 255, 255, 255};
  }
  float sum[4] = {0, 0, 0, 0};
  float count = 0;
  for (int i = 0; i < kParts; ++i) {
    for (int j = 0; i + j < kParts; ++j, ++count) {
      const float s = (static_cast<float>(i) + 1 / 3.0f) / kParts;
      const float t = (static_cast<float>(j) + 1 / 3.0f) / kParts;
      const Imath::V2f uv = uvs[0] * (1 - s - t) + uvs[1] * s + uvs[2] * t;
      const auto* texel = static_cast<const unsigned char*>(colors->Data()) +
                          static_cast<std::ptrdiff_t>(Texel(uv.y, colors->Height(), image.wrapV)) *
                              colors->RowStep() +
                          static_cast<std::ptrdiff_t>(Texel(uv.x, colors->Width(), image.wrapU)) *
                              colors->PixelStep();
      for (int c = 0; c < 3; ++c) sum[c] += texel[c];
      sum[3] += colors->Channels() > 3 ? texel[3] : 255;
    }
  }
  ColorBuf mean;
  std::uint8_t* const channels[] = {&mean.red, &mean.green, &mean.blue, &mean.alpha};
  for (int c = 0; c < 4; ++c) *channels[c] = static_cast<std::uint8_t>(sum[c] / count + 0.5f);
  return mean;
}

}  // namespace hostkit
