// What the benches draw.
#include "bench/support/geometry.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>

namespace bench {
namespace {

constexpr float kMiddleZ = -500, kWaveHeight = 60, kWaveLength = 40;  // pixels

GAVertex SheetVertex(float x, float y) {
  const float phaseX = x / kWaveLength, phaseY = y / kWaveLength;
  const float slopeX = kWaveHeight / kWaveLength * std::cos(phaseX) * std::cos(phaseY);
  const float slopeY = -kWaveHeight / kWaveLength * std::sin(phaseX) * std::sin(phaseY);
  const float length = std::sqrt(slopeX * slopeX + slopeY * slopeY + 1);
  return {x,
          y,
          kMiddleZ + kWaveHeight * std::sin(phaseX) * std::cos(phaseY),
          -slopeX / length,
          -slopeY / length,
          1 / length,
          0,
          0};
}

}  // namespace

Triangles WavySheet(std::size_t triangles, int width, int height) {
  const auto cells = static_cast<double>((triangles + 1) / 2);
  const auto columns = static_cast<std::size_t>(std::ceil(std::sqrt(cells * width / height)));
  const auto rows = static_cast<std::size_t>(std::ceil(cells / static_cast<double>(columns)));
  const float stepX = static_cast<float>(width) / static_cast<float>(columns);
  const float stepY = static_cast<float>(height) / static_cast<float>(rows);
  const auto at = [&](std::size_t column, std::size_t row) {
    return SheetVertex(static_cast<float>(column) * stepX - static_cast<float>(width) / 2,
                       static_cast<float>(row) * stepY - static_cast<float>(height) / 2);
  };
  Triangles vertices;
  vertices.reserve(triangles * 3 + 3);
  for (std::size_t cell = 0; vertices.size() < triangles * 3; ++cell) {
    const std::size_t column = cell % columns, row = cell / columns;
    const GAVertex a = at(column, row), b = at(column + 1, row), c = at(column, row + 1),
                   d = at(column + 1, row + 1);
    vertices.insert(vertices.end(), {a, c, b, b, c, d});
  }
  vertices.resize(triangles * 3);
  return vertices;
}

Triangles ScatteredTriangles(std::size_t triangles, int width, int height) {
  constexpr float kReach = 4;  // pixels from a triangle's middle to its corners
  std::mt19937 random(7);
  std::uniform_real_distribution<float> left(-0.5f * static_cast<float>(width),
                                             0.5f * static_cast<float>(width));
  std::uniform_real_distribution<float> low(-0.5f * static_cast<float>(height),
                                            0.5f * static_cast<float>(height));
  // Depths differ by more than rounding, so that there is one right order.
  std::vector<float> depths(triangles);
  for (std::size_t i = 0; i < triangles; ++i) {
    depths[i] = -20 - 900 * static_cast<float>(i) / static_cast<float>(triangles);
  }
  std::shuffle(depths.begin(), depths.end(), random);
  Triangles vertices;
  vertices.reserve(triangles * 3);
  for (const float z : depths) {
    const float x = left(random), y = low(random);
    vertices.push_back({x - kReach, y - kReach, z, 0, 0, -1, 0, 0});
    vertices.push_back({x + kReach, y - kReach, z, 0.6f, 0, -0.8f, 1, 0});
    vertices.push_back({x, y + kReach, z, 0, 0.6f, -0.8f, 0, 1});
  }
  return vertices;
}

float DepthKey(const Triangles& triangles, std::size_t triangle) {
  const GAVertex* v = &triangles[triangle * 3];
  return -((v[0].z + v[1].z + v[2].z) * 0.33333334f);
}

std::vector<std::size_t> OrderFarToNear(const Triangles& triangles) {
  std::vector<std::size_t> order(triangles.size() / 3);
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    return DepthKey(triangles, a) > DepthKey(triangles, b);
  });
  return order;
}

Triangles FarToNear(const Triangles& triangles) {
  Triangles sorted;
  sorted.reserve(triangles.size());
  for (const std::size_t triangle : OrderFarToNear(triangles)) {
    for (std::size_t k = 0; k < 3; ++k) sorted.push_back(triangles[triangle * 3 + k]);
  }
  return sorted;
}

std::vector<std::uint32_t> Sequence(std::size_t vertices) {
  std::vector<std::uint32_t> indices(vertices);
  std::iota(indices.begin(), indices.end(), 0U);
  return indices;
}

}  // namespace bench
