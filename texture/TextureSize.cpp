// Sizes that textures are rounded to.
#include "texture/TextureSize.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int kTurningPoint = 4096;  // multiples are sought upwards to here and downwards beyond
constexpr int kMostSteps = 1000;
constexpr double kLn2 = 0.6931471805599453;

int ToMultiple(int value, int lowBits) {
  const int step = value <= kTurningPoint ? 1 : -1;
  for (int i = 0; i < kMostSteps && (value & lowBits) != 0; ++i) value += step;
  return value;
}

}  // namespace

int Get2(int value) {
  return ToMultiple(value, 3);
}

int Get4(int value) {
  return ToMultiple(value, 15);
}

int NearestPowerOfTwo(int value) {
  if (value < 1) return 1;
  return 1 << static_cast<int>(std::floor(std::log(static_cast<double>(value)) / kLn2 + 0.5));
}

TextureSize Halved(TextureSize size) {
  return {std::max(size.width / 2, 1), std::max(size.height / 2, 1)};
}

TextureSize TextureSizeFor(TextureSize bitmap, int limit, bool powersOfTwo) {
  const TextureSize size =
      bitmap.height >= limit || bitmap.width >= limit ? Halved(bitmap) : bitmap;
  const auto round = powersOfTwo ? NearestPowerOfTwo : Get2;
  return {round(size.width), round(size.height)};
}
