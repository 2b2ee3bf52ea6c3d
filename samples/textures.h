// Pictures that sample scenes are covered with.
#pragma once

#include <Imath/ImathVec.h>

#include <string>
#include <vector>

namespace samples {

/// Something that stands on the floor and keeps light from it, in floor coordinates (x, z).
struct Shadow {
  Imath::V2f from;  ///< Where it touches the floor.
  Imath::V2f to;    ///< Where the light casts its top.
  float radius = 0;
  float darkness = 0.5f;  ///< 0 to 1.
};

/// A PNG file of tightly packed red, green, blue, alpha bytes, top row first; empty on failure.
std::string EncodePng(const unsigned char* rgba, int width, int height);

/// A PNG of a tiled floor, `halfSize` units from its middle to each edge, with soft shadows drawn
/// on it; the image's rows run towards positive z.
std::string TiledFloorPng(int side, float halfSize, float tileSize,
                          const std::vector<Shadow>& shadows);

}  // namespace samples
