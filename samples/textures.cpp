// Pictures that sample scenes are covered with.
#include "samples/textures.h"

#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace samples {
namespace {

using Imath::V2f;
using Imath::V3f;

const V3f kLightTile(0.88f, 0.87f, 0.84f);
const V3f kDarkTile(0.66f, 0.70f, 0.75f);
const V3f kJoint(0.48f, 0.50f, 0.53f);
constexpr float kJointWidth = 0.035f;  // of a tile's side

float SmoothStep(float from, float to, float value) {
  const float t = std::clamp((value - from) / (to - from), 0.0f, 1.0f);
  return t * t * (3 - 2 * t);
}

/// A repeatable number from 0 to 1 for a tile.
float Variation(int x, int z) {
  const auto hash = static_cast<unsigned>(x) * 374761393u + static_cast<unsigned>(z) * 668265263u;
  return static_cast<float>((hash ^ (hash >> 13)) * 1274126177u >> 8) / 16777216.0f;
}

V3f TileColor(const V2f& at, float tileSize, float pixel) {
  const V2f tile = at / tileSize;
  const int x = static_cast<int>(std::floor(tile.x)), z = static_cast<int>(std::floor(tile.y));
  const V3f base = (x + z) % 2 == 0 ? kLightTile : kDarkTile;
  const V3f face = base * (0.95f + 0.07f * Variation(x, z));
  const float toEdgeX =
      std::min(tile.x - static_cast<float>(x), static_cast<float>(x) + 1 - tile.x);
  const float toEdgeZ =
      std::min(tile.y - static_cast<float>(z), static_cast<float>(z) + 1 - tile.y);
  const float edge = std::min(toEdgeX, toEdgeZ), blur = pixel / tileSize;
  const float inside = SmoothStep(kJointWidth / 2 - blur, kJointWidth / 2 + blur, edge);
  return kJoint + (face - kJoint) * inside;
}

/// What is left of the light at a floor point: 1 away from all shadows.
float LightLeft(const V2f& at, const std::vector<Shadow>& shadows) {
  float light = 1;
  for (const Shadow& shadow : shadows) {
    const V2f span = shadow.to - shadow.from;
    const float t =
        std::clamp((at - shadow.from).dot(span) / std::max(span.length2(), 1e-6f), 0.0f, 1.0f);
    const float distance = (at - shadow.from - span * t).length();
    const float soft = 0.12f + 0.35f * t;
    const float cast = 1 - SmoothStep(shadow.radius - soft, shadow.radius + soft, distance);
    const float toFoot = (at - shadow.from).length() / std::max(shadow.radius, 1e-3f);
    const float contact = std::exp(-2.2f * toFoot * toFoot);
    light *=
        (1 - shadow.darkness * cast * (1 - 0.45f * t)) * (1 - 0.6f * shadow.darkness * contact);
  }
  return light;
}

unsigned char ToByte(float value) {
  return static_cast<unsigned char>(std::clamp(value, 0.0f, 1.0f) * 255 + 0.5f);
}

}  // namespace

std::string EncodePng(const unsigned char* rgba, int width, int height) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(width);
  image.height = static_cast<png_uint_32>(height);
  image.format = PNG_FORMAT_RGBA;
  png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
  std::string file(size, '\0');
  if (!png_image_write_to_memory(&image, file.data(), &size, 0, rgba, 0, nullptr)) return {};
  file.resize(size);
  return file;
}

std::string TiledFloorPng(int side, float halfSize, float tileSize,
                          const std::vector<Shadow>& shadows) {
  const float pixel = 2 * halfSize / static_cast<float>(side);
  std::vector<unsigned char> rgba;
  rgba.reserve(static_cast<std::size_t>(side) * static_cast<std::size_t>(side) * 4);
  for (int y = 0; y < side; ++y) {
    for (int x = 0; x < side; ++x) {
      const V2f at((static_cast<float>(x) + 0.5f) * pixel - halfSize,
                   (static_cast<float>(y) + 0.5f) * pixel - halfSize);
      const V3f color = TileColor(at, tileSize, pixel) * LightLeft(at, shadows);
      rgba.insert(rgba.end(), {ToByte(color.x), ToByte(color.y), ToByte(color.z), 255});
    }
  }
  return EncodePng(rgba.data(), side, side);
}

}  // namespace samples
