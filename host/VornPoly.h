// Pre-coloured triangles.
#pragma once

#include <cstddef>

#include "host/Colors.h"
#include "host/Vectors.h"

/// One triangle: positions in view space, colours, texture coordinates, and the key it is sorted
/// by. Copying copies the three colour handles (three new native colours); moving is cheap.
struct VornPoly {
  /// Corners. What waits for the end of the scene runs counter-clockwise on the screen, else it is
  /// left out; unlit and drawn as opaque, it may run either way.
  Vector p0, p1, p2;
  /// Colours of the corners. An empty handle is opaque black.
  GAColor c0, c1, c2;
  /// Texture coordinates of the corners.
  Vector2 uv0, uv1, uv2;
  float depthKey = 0;  ///< Any unit: the smallest is drawn first.
};
static_assert(offsetof(VornPoly, p2) == 24 && offsetof(VornPoly, c0) == 40 &&
              offsetof(VornPoly, c2) == 56 && offsetof(VornPoly, uv0) == 64 &&
              offsetof(VornPoly, uv2) == 80 && offsetof(VornPoly, depthKey) == 88);
