// Shapes that sample scenes are made of. Front faces are counter-clockwise, y is up, texture
// coordinates have v = 0 at the image's top row.
#pragma once

#include <Imath/ImathVec.h>

#include <cstdint>
#include <functional>
#include <vector>

namespace samples {

/// Triangles with one normal a vertex.
struct Shape {
  std::vector<Imath::V3f> positions;
  std::vector<Imath::V3f> normals;
  std::vector<Imath::V2f> uvs;         ///< Empty or one a vertex.
  std::vector<float> colors;           ///< Empty, or `colorChannels` values a vertex, linear.
  int colorChannels = 3;               ///< 3 or 4.
  std::vector<std::uint32_t> indices;  ///< Three a triangle.
  std::vector<std::uint16_t> joints;   ///< Empty, or four a vertex: indices into Skin::joints.
  std::vector<Imath::V4f> weights;     ///< Theirs, one a vertex.
};

/// A point of an outline that is turned around the y axis: radius and height with the direction
/// that the surface faces there. Two points in one place make a sharp edge.
struct OutlinePoint {
  float radius, height;
  float facesOut, facesUp;
};

/// A surface of revolution; the outline runs from bottom to top.
Shape Lathe(const std::vector<OutlinePoint>& outline, int segments);
Shape Sphere(float radius, int segments, int rings);
/// A cylinder standing on the origin whose upper edge is rounded by `bevel`.
Shape Plinth(float radius, float height, float bevel, int segments);
Shape Cone(float radius, float height, int segments, int rings);
/// A level disc facing up, texture coordinates spanning its square.
Shape Disc(float radius, int segments, int rings);
/// A closed tube around a curve that is given for 0 to 1 and ends where it began.
Shape Tube(const std::function<Imath::V3f(float)>& curve, float radius, int segments, int sides);
/// Twenty flat faces, resting on one of them on the level of the origin.
Shape Gem(float radius);
/// A box centred on the origin with `cells` x `cells` quads a face, each face with its own
/// vertices and the whole image on it.
Shape Box(const Imath::V3f& size, int cells);
/// A sphere of radius about 1 with bumps, of exactly `triangles` triangles (at least 1).
Shape BumpySphere(std::uint32_t triangles);

}  // namespace samples
