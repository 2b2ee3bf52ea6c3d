// Plain vectors of the host.
#pragma once

#include <cstddef>

/// A position or direction in view space unless said otherwise.
struct Vector {
  /// Components; in view space x goes right, y up, and z towards the viewer.
  float x = 0, y = 0, z = 0;
};

/// Texture coordinates u, v, or a point in two dimensions.
struct Vector2 {
  /// Components: u and v of texture coordinates, v = 0 at the picture's top row.
  float x = 0, y = 0;
};

/// Four components; as a colour: red, green, blue, alpha.
struct Vector4 {
  /// Components.
  float x = 0, y = 0, z = 0, w = 0;
};

static_assert(sizeof(Vector) == 12 && offsetof(Vector, y) == 4 && offsetof(Vector, z) == 8);
static_assert(sizeof(Vector2) == 8 && offsetof(Vector2, y) == 4);
static_assert(sizeof(Vector4) == 16 && offsetof(Vector4, y) == 4 && offsetof(Vector4, z) == 8 &&
              offsetof(Vector4, w) == 12);
