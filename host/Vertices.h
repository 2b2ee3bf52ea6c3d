// Vertex records. Arrays of them are handed to OpenGL as they are: the strides below are the
// record sizes, the offsets those of the members.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/Vectors.h"

/// Lit vertex in view space. In a transparent line, u is the transparency (0 opaque, 1 clear) and
/// v the line width in pixels; in a polyline the first vertex's v is the line width.
struct GAVertex {
  /// Position.
  float x = 0, y = 0, z = 0;
  /// Normal, of unit length: the module does not normalise it. On its side see DisplayList.
  float nx = 0, ny = 0, nz = 0;
  /// Texture coordinates, v = 0 at the picture's top row.
  float u = 0, v = 0;
};
static_assert(sizeof(GAVertex) == 32 && offsetof(GAVertex, z) == 8 &&
              offsetof(GAVertex, nx) == 12 && offsetof(GAVertex, nz) == 20 &&
              offsetof(GAVertex, u) == 24 && offsetof(GAVertex, v) == 28);

/// Vertex that brings its colour along; view space.
struct GALitVertex {
  /// Position.
  float x = 0, y = 0, z = 0;
  /// Colour, 255 is full and opaque. DisplayList::AddTransformedQuad exchanges red and blue.
  std::uint8_t red = 0, green = 0, blue = 0, alpha = 0;
};
static_assert(sizeof(GALitVertex) == 16 && offsetof(GALitVertex, z) == 8 &&
              offsetof(GALitVertex, red) == 12 && offsetof(GALitVertex, green) == 13 &&
              offsetof(GALitVertex, blue) == 14);

/// Vertex that brings its colour and texture coordinates along; view space.
struct GALitVertexWT {
  /// Position.
  float x = 0, y = 0, z = 0;
  /// Texture coordinates. DisplayList::AddIndexedLitTriangleListWT takes them for the position.
  float u = 0, v = 0;
  /// Colour, 255 is full and opaque.
  std::uint8_t red = 0, green = 0, blue = 0, alpha = 0;
};
static_assert(sizeof(GALitVertexWT) == 24 && offsetof(GALitVertexWT, z) == 8 &&
              offsetof(GALitVertexWT, u) == 12 && offsetof(GALitVertexWT, red) == 20 &&
              offsetof(GALitVertexWT, green) == 21 && offsetof(GALitVertexWT, blue) == 22);
