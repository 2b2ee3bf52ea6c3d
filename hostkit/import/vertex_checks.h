// Vertices of files, which may lie beyond what can be drawn.
#pragma once

#include <Imath/ImathVec.h>

#include <cmath>
#include <vector>

namespace hostkit {

/// Beyond this the squares that lengths are made of leave the range of a float.
constexpr double kLargestCoordinate = 1e18;

/// False for NaN, too.
template <class Number>
bool CanBeDrawn(const Imath::Vec3<Number>& position) {
  return std::abs(position.x) < kLargestCoordinate && std::abs(position.y) < kLargestCoordinate &&
         std::abs(position.z) < kLargestCoordinate;
}

/// Tells which positions are not finite, or too far away for their squares to be, and moves them
/// onto one that can be drawn, so that they do not count in any bounds. Empty when all are good.
std::vector<bool> TakeOutBadPositions(std::vector<Imath::V3f>& positions);

}  // namespace hostkit
