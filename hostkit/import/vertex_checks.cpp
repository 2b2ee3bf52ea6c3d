// Vertices of files, which may lie beyond what can be drawn.
#include "hostkit/import/vertex_checks.h"

#include <cmath>
#include <cstddef>

namespace hostkit {
namespace {

using Imath::V3f;

// Beyond this the squares that lengths are made of leave the range of a float.
constexpr float kLargestCoordinate = 1e18f;

bool CanBeDrawn(const V3f& position) {
  // False for NaN, too.
  return std::abs(position.x) < kLargestCoordinate && std::abs(position.y) < kLargestCoordinate &&
         std::abs(position.z) < kLargestCoordinate;
}

}  // namespace

std::vector<bool> TakeOutBadPositions(std::vector<V3f>& positions) {
  std::vector<bool> bad;
  V3f good(0.0f);
  for (std::size_t i = 0; i < positions.size(); ++i) {
    if (CanBeDrawn(positions[i])) {
      good = positions[i];
      continue;
    }
    if (bad.empty()) bad.resize(positions.size());
    bad[i] = true;
  }
  for (std::size_t i = 0; i < bad.size(); ++i) {
    if (bad[i]) positions[i] = good;
  }
  return bad;
}

}  // namespace hostkit
