// Shapes that sample scenes are made of.
#include "samples/shapes.h"

#include <Imath/ImathMatrixAlgo.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <utility>

namespace samples {
namespace {

using Imath::V2f;
using Imath::V3f;

constexpr float kTurn = 2 * std::numbers::pi_v<float>;

/// Two triangles for each cell of a grid of (columns + 1) x (rows + 1) vertices, row by row, of
/// which the first is `first`. Columns run to the right and rows up as seen from the front.
void AddGridCells(std::uint32_t first, int columns, int rows, std::vector<std::uint32_t>& indices) {
  const auto stride = static_cast<std::uint32_t>(columns) + 1;
  for (int r = 0; r < rows; ++r) {
    for (int c = 0; c < columns; ++c) {
      const std::uint32_t a =
          first + static_cast<std::uint32_t>(r) * stride + static_cast<std::uint32_t>(c);
      const std::uint32_t b = a + 1, d = a + stride, e = d + 1;
      indices.insert(indices.end(), {a, b, e, a, e, d});
    }
  }
}

/// Drops triangles without area, as a grid has them where it shrinks to a point.
void DropSlivers(Shape& shape) {
  std::vector<std::uint32_t> kept;
  kept.reserve(shape.indices.size());
  for (std::size_t i = 0; i < shape.indices.size(); i += 3) {
    const std::uint32_t* t = &shape.indices[i];
    const V3f& a = shape.positions[t[0]];
    const V3f area = (shape.positions[t[1]] - a).cross(shape.positions[t[2]] - a);
    if (area.length() > 1e-9f) kept.insert(kept.end(), t, t + 3);
  }
  shape.indices = std::move(kept);
}

V3f Around(float angle) {
  return {std::sin(angle), 0, std::cos(angle)};
}

}  // namespace

Shape Lathe(const std::vector<OutlinePoint>& outline, int segments) {
  Shape shape;
  for (std::size_t p = 0; p < outline.size(); ++p) {
    const OutlinePoint& point = outline[p];
    const float v = 1 - static_cast<float>(p) / static_cast<float>(outline.size() - 1);
    for (int s = 0; s <= segments; ++s) {
      const float u = static_cast<float>(s) / static_cast<float>(segments);
      const V3f out = Around(kTurn * u);
      shape.positions.push_back(out * point.radius + V3f(0, point.height, 0));
      shape.normals.push_back((out * point.facesOut + V3f(0, point.facesUp, 0)).normalized());
      shape.uvs.emplace_back(u, v);
    }
  }
  AddGridCells(0, segments, static_cast<int>(outline.size()) - 1, shape.indices);
  DropSlivers(shape);
  return shape;
}

Shape Sphere(float radius, int segments, int rings) {
  std::vector<OutlinePoint> outline;
  for (int r = 0; r <= rings; ++r) {
    const float angle = kTurn / 2 * (static_cast<float>(r) / static_cast<float>(rings) - 0.5f);
    const bool isPole = r == 0 || r == rings;
    const float out = isPole ? 0 : std::cos(angle), up = std::sin(angle);
    outline.push_back({radius * out, radius * up, out, up});
  }
  return Lathe(outline, segments);
}

Shape Plinth(float radius, float height, float bevel, int segments) {
  constexpr int kWallRings = 8, kBevelRings = 6, kTopRings = 12;
  std::vector<OutlinePoint> outline;
  for (int r = 0; r < kWallRings; ++r) {
    const float t = static_cast<float>(r) / kWallRings;
    outline.push_back({radius, (height - bevel) * t, 1, 0});
  }
  for (int r = 0; r <= kBevelRings; ++r) {
    const float angle = kTurn / 4 * static_cast<float>(r) / kBevelRings;
    outline.push_back({radius - bevel + bevel * std::cos(angle),
                       height - bevel + bevel * std::sin(angle), std::cos(angle), std::sin(angle)});
  }
  for (int r = 1; r <= kTopRings; ++r) {
    const float t = 1 - static_cast<float>(r) / kTopRings;
    outline.push_back({(radius - bevel) * t, height, 0, 1});
  }
  return Lathe(outline, segments);
}

Shape Cone(float radius, float height, int segments, int rings) {
  std::vector<OutlinePoint> outline;
  for (int r = 0; r <= rings; ++r) {
    const float t = static_cast<float>(r) / static_cast<float>(rings);
    outline.push_back({radius * (1 - t), height * t, height, radius});
  }
  return Lathe(outline, segments);
}

Shape Disc(float radius, int segments, int rings) {
  std::vector<OutlinePoint> outline;
  for (int r = 0; r <= rings; ++r) {
    outline.push_back({radius * (1 - static_cast<float>(r) / static_cast<float>(rings)), 0, 0, 1});
  }
  Shape shape = Lathe(outline, segments);
  for (std::size_t i = 0; i < shape.positions.size(); ++i) {
    const V3f at = shape.positions[i] / radius;
    shape.uvs[i] = V2f((at.x + 1) / 2, (at.z + 1) / 2);
  }
  return shape;
}

Shape Tube(const std::function<V3f(float)>& curve, float radius, int segments, int sides) {
  constexpr float kStep = 1e-3f;
  Shape shape;
  for (int s = 0; s <= segments; ++s) {
    const float t = static_cast<float>(s) / static_cast<float>(segments);
    const V3f centre = curve(t);
    const V3f ahead = curve(t + kStep), behind = curve(t - kStep);
    const V3f along = (ahead - behind).normalized();
    const V3f side = along.cross(ahead + behind).normalized();
    const V3f out = side.cross(along);
    for (int k = 0; k <= sides; ++k) {
      const float angle = kTurn * static_cast<float>(k) / static_cast<float>(sides);
      const V3f normal = out * std::cos(angle) + side * std::sin(angle);
      shape.positions.push_back(centre + normal * radius);
      shape.normals.push_back(normal);
      shape.uvs.emplace_back(static_cast<float>(k) / static_cast<float>(sides), t);
    }
  }
  AddGridCells(0, sides, segments, shape.indices);
  return shape;
}

Shape Gem(float radius) {
  const float golden = std::numbers::phi_v<float>;
  const V3f corners[12] = {{-1, golden, 0}, {1, golden, 0}, {-1, -golden, 0}, {1, -golden, 0},
                           {0, -1, golden}, {0, 1, golden}, {0, -1, -golden}, {0, 1, -golden},
                           {golden, 0, -1}, {golden, 0, 1}, {-golden, 0, -1}, {-golden, 0, 1}};
  constexpr int kFaces[20][3] = {{0, 11, 5}, {0, 5, 1},  {0, 1, 7},   {0, 7, 10}, {0, 10, 11},
                                 {1, 5, 9},  {5, 11, 4}, {11, 10, 2}, {10, 7, 6}, {7, 1, 8},
                                 {3, 9, 4},  {3, 4, 2},  {3, 2, 6},   {3, 6, 8},  {3, 8, 9},
                                 {4, 9, 5},  {2, 4, 11}, {6, 2, 10},  {8, 6, 7},  {9, 8, 1}};
  const V3f* c = corners;
  const V3f bottom = (c[3] + c[9] + c[4]).normalized();
  const Imath::M44f faceDown = Imath::rotationMatrix(bottom, V3f(0, -1, 0));
  const float scale = radius / corners[0].length();
  const float lift = ((c[3] + c[9] + c[4]) / 3).length() * scale;
  Shape shape;
  for (const auto& face : kFaces) {
    V3f at[3];
    for (int k = 0; k < 3; ++k) at[k] = c[face[k]] * faceDown * scale + V3f(0, lift, 0);
    const V3f normal = (at[1] - at[0]).cross(at[2] - at[0]).normalized();
    for (const V3f& corner : at) {
      shape.indices.push_back(static_cast<std::uint32_t>(shape.positions.size()));
      shape.positions.push_back(corner);
      shape.normals.push_back(normal);
    }
  }
  return shape;
}

Shape Box(const V3f& size, int cells) {
  // Each face: where it looks, and its right and up as seen from outside.
  const V3f faces[6][3] = {{{0, 0, 1}, {1, 0, 0}, {0, 1, 0}},  {{0, 0, -1}, {-1, 0, 0}, {0, 1, 0}},
                           {{1, 0, 0}, {0, 0, -1}, {0, 1, 0}}, {{-1, 0, 0}, {0, 0, 1}, {0, 1, 0}},
                           {{0, 1, 0}, {1, 0, 0}, {0, 0, -1}}, {{0, -1, 0}, {1, 0, 0}, {0, 0, 1}}};
  Shape shape;
  for (const auto& [normal, right, up] : faces) {
    const auto first = static_cast<std::uint32_t>(shape.positions.size());
    for (int r = 0; r <= cells; ++r) {
      for (int c = 0; c <= cells; ++c) {
        const V2f at(static_cast<float>(c) / static_cast<float>(cells),
                     static_cast<float>(r) / static_cast<float>(cells));
        shape.positions.push_back((normal + right * (2 * at.x - 1) + up * (2 * at.y - 1)) * size /
                                  2);
        shape.normals.push_back(normal);
        shape.uvs.emplace_back(at.x, 1 - at.y);
      }
    }
    AddGridCells(first, cells, cells, shape.indices);
  }
  return shape;
}

Shape BumpySphere(std::uint32_t triangles) {
  const int rows = std::max(2, static_cast<int>(std::ceil(std::sqrt(triangles / 4.0))));
  const int columns = static_cast<int>(std::ceil(triangles / 2.0 / rows));
  const auto radiusAt = [](float angle, float height) {
    return 1 + 0.06f * std::sin(9 * angle) * std::cos(7 * height) * std::cos(height);
  };
  const auto pointAt = [&](float angle, float height) {
    return (Around(angle) * std::cos(height) + V3f(0, std::sin(height), 0)) *
           radiusAt(angle, height);
  };
  constexpr float kStep = 1e-3f;
  Shape shape;
  for (int r = 0; r <= rows; ++r) {
    // Short of the poles, where a grid's rows would shrink to a point.
    const float height = 0.499f * kTurn * (static_cast<float>(r) / static_cast<float>(rows) - 0.5f);
    for (int c = 0; c <= columns; ++c) {
      const float angle = kTurn * static_cast<float>(c) / static_cast<float>(columns);
      const V3f east = pointAt(angle + kStep, height) - pointAt(angle - kStep, height);
      const V3f north = pointAt(angle, height + kStep) - pointAt(angle, height - kStep);
      shape.positions.push_back(pointAt(angle, height));
      shape.normals.push_back(east.cross(north).normalized());
    }
  }
  AddGridCells(0, columns, rows, shape.indices);
  shape.indices.resize(std::size_t{triangles} * 3);
  return shape;
}

}  // namespace samples
