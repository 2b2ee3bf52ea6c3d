// Pictures for textures, made from those of a scene.
#include "hostkit/feed/picture_making.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <vector>

#include "hostkit/feed/picture_texels.h"

namespace hostkit {
namespace {

using Imath::V2f;
using Imath::V3f;
using Imath::V4f;

// The two texels of a picture that a texel of the texture lies between, and the share of the
// second.
struct Tap {
  int first, second;
  float share;
};

std::vector<Tap> TapsOf(const AxisLayout& axis, int texels, PictureWrap wrap, bool isSmooth) {
  std::vector<Tap> taps;
  taps.reserve(static_cast<std::size_t>(axis.count) * static_cast<std::size_t>(axis.factor));
  for (int i = 0; i < axis.count * axis.factor; ++i) {
    // Middles of odd factors fall on middles.
    const int part = i % axis.factor, middle = axis.factor / 2;
    std::int64_t texel = std::int64_t{axis.first} + i / axis.factor;
    float share = 0;
    if (isSmooth && part != middle) {
      share = static_cast<float>(part - middle) / static_cast<float>(axis.factor);
      if (share < 0) {
        share += 1;
        --texel;
      }
    }
    taps.push_back({WrapTexel(texel, texels, wrap), WrapTexel(texel + 1, texels, wrap), share});
  }
  return taps;
}

unsigned char Rounded(float value) {
  return value > 0 ? static_cast<unsigned char>(std::min(value, 255.0f) + 0.5f) : 0;
}

void Blend(const PictureTexels& texels, const Tap& u, const Tap& v, unsigned char* to) {
  const unsigned char* const corners[] = {texels.At(u.first, v.first), texels.At(u.second, v.first),
                                          texels.At(u.first, v.second),
                                          texels.At(u.second, v.second)};
  for (int c = 0; c < (texels.HasAlphaChannel() ? 4 : 3); ++c) {
    const float upper =
        std::lerp(static_cast<float>(corners[0][c]), static_cast<float>(corners[1][c]), u.share);
    const float lower =
        std::lerp(static_cast<float>(corners[2][c]), static_cast<float>(corners[3][c]), u.share);
    to[c] = Rounded(std::lerp(upper, lower, v.share));
  }
}

void FillAlone(const SceneImage& image, const PictureLayout& layout, bool isSmooth,
               HBitmapBuffer& to) {
  const PictureTexels texels(image);
  const std::vector<Tap> columns = TapsOf(layout.u, texels.Width(), image.wrapU, isSmooth);
  auto* pixel = static_cast<unsigned char*>(to.Data());
  for (const Tap& row : TapsOf(layout.v, texels.Height(), image.wrapV, isSmooth)) {
    for (const Tap& column : columns) {
      pixel[3] = 255;
      if (row.share == 0 && column.share == 0) {
        std::copy_n(texels.At(column.first, row.first), texels.HasAlphaChannel() ? 4 : 3, pixel);
      } else {
        Blend(texels, column, row, pixel);
      }
      pixel += 4;
    }
  }
}

// The texture coordinate of the leader at a texel of the texture.
float CoordinateAt(const AxisLayout& axis, int texel, int texels) {
  const float place = (static_cast<float>(texel) + 0.5f) / static_cast<float>(axis.factor);
  return (static_cast<float>(axis.first) + place) / static_cast<float>(texels);
}

void FillMixed(const PictureMix& mix, const PictureLayout& layout, HBitmapBuffer& to) {
  const PictureTexels leader(*mix.Leader());
  std::optional<PictureTexels> color, glow;
  if (mix.color) color.emplace(*mix.color);
  if (mix.glow) glow.emplace(*mix.glow);
  const V4f white(255);
  auto* pixel = static_cast<unsigned char*>(to.Data());
  for (int y = 0; y < to.Height(); ++y) {
    const float v = CoordinateAt(layout.v, y, leader.Height());
    for (int x = 0; x < to.Width(); ++x, pixel += 4) {
      const V2f uv(CoordinateAt(layout.u, x, leader.Width()), v);
      const V4f shown = color ? color->Sample(uv) : white, added = glow ? glow->Sample(uv) : white;
      for (int c = 0; c < 3; ++c) {
        pixel[c] = Rounded(mix.base[c] * shown[c] + mix.emission[c] * added[c]);
      }
      pixel[3] = Rounded(shown[3]);
    }
  }
}

void ApplyLeastAlpha(int least, HBitmapBuffer& to) {
  auto* pixel = static_cast<unsigned char*>(to.Data());
  for (const unsigned char* end = pixel + std::ptrdiff_t{to.RowStep()} * to.Height(); pixel != end;
       pixel += 4) {
    pixel[3] = pixel[3] >= least ? 255 : 0;
  }
}

std::int64_t TexelsOf(const SceneImage& image) {
  return std::int64_t{image.bitmap->GetWidth()} * image.bitmap->GetHeight();
}

}  // namespace

const SceneImage* PictureMix::Leader() const {
  if (!color || !glow) return color ? color : glow;
  return TexelsOf(*glow) > TexelsOf(*color) ? glow : color;
}

bool PictureMix::IsPictureAlone() const {
  return color && !glow && base == V3f(1) && emission == V3f(0);
}

BitmapPtr MakePicture(const PictureMix& mix, const PictureLayout& layout, Enlarging enlarging) {
  BitmapPtr made =
      NewByteBitmap(layout.u.count * layout.u.factor, layout.v.count * layout.v.factor);
  if (!made) return nullptr;
  HBitmapBuffer& pixels = *made->GetBufferHead();
  if (mix.IsPictureAlone()) {
    FillAlone(*mix.color, layout, enlarging == Enlarging::kSmooth, pixels);
  } else {
    FillMixed(mix, layout, pixels);
  }
  if (mix.leastAlpha > 0) ApplyLeastAlpha(mix.leastAlpha, pixels);
  return made;
}

}  // namespace hostkit
