// How a picture is laid out in a texture.
#include "hostkit/feed/picture_layout.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <numeric>

#include "hostkit/feed/picture_texels.h"

namespace hostkit {
namespace {

// Sides of textures are multiples of it.
constexpr int kMultiple = 4;
// What copies, windows and squares may come to: texels a side and in all. Squares, but for large
// ones, keep to a side at which the renderer has no driver compress them, and what is enlarged to
// find edges to less, since its texels take time.
constexpr int kMostSide = 4096, kMostOfSquares = 2048, kMostSmooth = 1024;
constexpr std::int64_t kMostTexels = std::int64_t{1} << 22;
// A window on a picture as large as it is itself, and a little more, may have this side.
constexpr int kLargestWindow = 8188;

// One direction of a picture, and the part of it that is seen, in texels.
struct Axis {
  int texels;
  PictureWrap wrap;
  float low, high;
};

int RoundUp(int value, int multiple) {
  return (value + multiple - 1) / multiple * multiple;
}

// The texels that blend into what is seen.
AxisLayout WindowOn(const Axis& axis, int factor, int multiple) {
  const int first = static_cast<int>(std::floor(axis.low - 0.5f));
  const int last = static_cast<int>(std::floor(axis.high - 0.5f)) + 1;
  return {first, RoundUp(last - first + 1, multiple), factor};
}

AxisLayout LayOut(const Axis& axis, int factor, int mostSide) {
  const int multiple = kMultiple / std::gcd(factor, kMultiple);
  const auto texels = static_cast<float>(axis.texels);
  const bool seesNoEdge = axis.low >= 0.5f && axis.high <= texels - 0.5f;
  if (axis.texels % multiple == 0 && (axis.wrap == PictureWrap::kRepeat || seesNoEdge)) {
    return {0, axis.texels, factor};
  }
  const AxisLayout window = WindowOn(axis, factor, multiple);
  const bool isNear = window.count <= axis.texels + 2 * kMultiple && window.count <= kLargestWindow;
  const bool hasWindow = isNear || window.count <= mostSide / factor;
  if (axis.wrap == PictureWrap::kClamp) {
    // A large picture is not copied for the sake of its edges.
    const bool isCopiedInVain = axis.texels % multiple == 0 && axis.texels > kMostOfSquares;
    if (hasWindow && !isCopiedInVain) return window;
    return {0, RoundUp(axis.texels, multiple), factor, true};
  }
  const int period = axis.wrap == PictureWrap::kMirror ? 2 * axis.texels : axis.texels;
  const int copies = period * (multiple / std::gcd(period, multiple));
  const bool hasCopies = copies <= mostSide / factor;
  if (hasWindow && (!hasCopies || window.count <= copies)) return window;
  return {0, hasCopies ? copies : period, factor};
}

std::initializer_list<int> FactorsOf(Enlarging enlarging) {
  static constexpr std::initializer_list<int> kNone = {1};
  static constexpr std::initializer_list<int> kDouble = {2, 1};
  static constexpr std::initializer_list<int> kSquares = {64, 32, 16, 8, 4, 2, 1};
  // Odd, so that the texels' middles stay middles of texels.
  static constexpr std::initializer_list<int> kSmooth = {9, 7, 5, 3, 1};
  if (enlarging == Enlarging::kNone) return kNone;
  if (enlarging == Enlarging::kLargeSquares) return kDouble;
  return enlarging == Enlarging::kSquares ? kSquares : kSmooth;
}

bool IsAffordable(const PictureLayout& layout, Enlarging enlarging) {
  const std::int64_t width = std::int64_t{layout.u.count} * layout.u.factor;
  const std::int64_t height = std::int64_t{layout.v.count} * layout.v.factor;
  const bool isEnlarged = layout.u.factor > 1;
  if (isEnlarged && enlarging == Enlarging::kLargeSquares) {
    return std::max(width, height) <= kMostSide;
  }
  const int most = enlarging == Enlarging::kSmooth ? kMostSmooth : kMostOfSquares;
  if (isEnlarged && std::max(width, height) > most) return false;
  return width * height <= kMostTexels;
}

}  // namespace

Imath::V2f UvMap::operator()(const Imath::V2f& uv) const {
  return {std::clamp(uv.x, least.x, most.x) * scale.x + offset.x,
          std::clamp(uv.y, least.y, most.y) * scale.y + offset.y};
}

PictureLayout LayOutPicture(const SceneImage& image, int width, int height, const Imath::Box2f& uvs,
                            Enlarging enlarging) {
  const Axis u{width, image.wrapU, InTexels(uvs.min.x, width), InTexels(uvs.max.x, width)};
  const Axis v{height, image.wrapV, InTexels(uvs.min.y, height), InTexels(uvs.max.y, height)};
  for (const int factor : FactorsOf(enlarging)) {
    const PictureLayout layout = {LayOut(u, factor, kMostSide), LayOut(v, factor, kMostSide)};
    if (IsAffordable(layout, enlarging)) return layout;
  }
  return {LayOut(u, 1, 0), LayOut(v, 1, 0)};
}

bool IsPlain(const PictureLayout& layout, int width, int height) {
  const auto isPlain = [](const AxisLayout& axis, int texels) {
    return axis.first == 0 && axis.count == texels && axis.factor == 1;
  };
  return isPlain(layout.u, width) && isPlain(layout.v, height);
}

UvMap MapInto(const PictureLayout& layout, int width, int height) {
  UvMap map;
  const AxisLayout* const axes[] = {&layout.u, &layout.v};
  const int sizes[] = {width, height};
  for (int i = 0; i < 2; ++i) {
    const auto count = static_cast<float>(axes[i]->count), texels = static_cast<float>(sizes[i]);
    map.scale[i] = texels / count;
    map.offset[i] = -static_cast<float>(axes[i]->first) / count;
    if (!axes[i]->isHeld) continue;
    map.least[i] = 0.5f / texels;
    map.most[i] = 1 - map.least[i];
  }
  return map;
}

}  // namespace hostkit
