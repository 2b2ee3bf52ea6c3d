// Vectors of what the renderer's records keep number by number.
#pragma once

#include <Imath/ImathVec.h>

#include "host/Animation.h"
#include "host/Colors.h"
#include "host/Vertices.h"

namespace hostkit {

inline Imath::V3f PositionOf(const GAVertex& vertex) {
  return {vertex.x, vertex.y, vertex.z};
}

inline Imath::V3f NormalOf(const GAVertex& vertex) {
  return {vertex.nx, vertex.ny, vertex.nz};
}

inline void SetNormal(GAVertex& vertex, const Imath::V3f& normal) {
  vertex.nx = normal.x;
  vertex.ny = normal.y;
  vertex.nz = normal.z;
}

/// Red, green, blue as they are now.
inline Imath::V3f ColorOf(const AnimatableColor& color) {
  return {color.red.Current(), color.green.Current(), color.blue.Current()};
}

/// Component by component.
inline Imath::V3f Product(const Imath::V3f& a, const Imath::V3f& b) {
  return {a.x * b.x, a.y * b.y, a.z * b.z};
}

}  // namespace hostkit
