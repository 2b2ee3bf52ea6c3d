// Polygons into triangles.
#include "hostkit/import/polygon_cutter.h"

#include <cmath>
#include <numeric>

namespace hostkit {
namespace {

using Imath::V2d;
using Imath::V3d;
using Imath::V3f;

/// Normal of a polygon by Newell's method, twice its area long.
V3d NormalOf(std::span<const V3f> points) {
  V3d sum(0.0);
  const V3d origin(points[0]);
  for (std::size_t i = 0; i < points.size(); ++i) {
    const V3d a = V3d(points[i]) - origin, b = V3d(points[(i + 1) % points.size()]) - origin;
    sum += a.cross(b);
  }
  return sum;
}

/// The corner of four that bends inwards, else 0: cutting from there is right for both.
std::uint32_t FirstOfFour(std::span<const V3f> points) {
  const V3f normal = (points[2] - points[0]).cross(points[3] - points[1]);
  for (std::uint32_t i = 0; i < 4; ++i) {
    const V3f to = points[i] - points[(i + 3) % 4], from = points[(i + 1) % 4] - points[i];
    if (to.cross(from).dot(normal) < 0) return i;
  }
  return 0;
}

}  // namespace

void PolygonCutter::Cut(std::span<const V3f> points, std::vector<std::uint32_t>& triangles) {
  const auto count = static_cast<std::uint32_t>(points.size());
  if (count == 3) triangles.insert(triangles.end(), {0, 1, 2});
  if (count < 4) return;
  if (count == 4) {
    const std::uint32_t i = FirstOfFour(points);
    triangles.insert(triangles.end(), {i, (i + 1) % 4, (i + 2) % 4, i, (i + 2) % 4, (i + 3) % 4});
    return;
  }
  Flatten(points);
  FindReflex();
  CutEars(triangles);
}

/// Looks at the polygon along the axis that its normal is nearest to.
void PolygonCutter::Flatten(std::span<const V3f> points) {
  const V3d normal = NormalOf(points);
  const V3d size(std::abs(normal.x), std::abs(normal.y), std::abs(normal.z));
  const int axis = size.x > size.y && size.x > size.z ? 0 : size.y > size.z ? 1 : 2;
  const double side = normal[axis] < 0 ? -1 : 1;
  m_flat.clear();
  for (const V3f& point : points) {
    const V3d from = V3d(point) - V3d(points[0]);
    m_flat.emplace_back(side * from[(axis + 1) % 3], from[(axis + 2) % 3]);
  }
}

/// Twice the area of a triangle, above 0 when it is counter-clockwise.
double PolygonCutter::Turn(std::uint32_t a, std::uint32_t b, std::uint32_t c) const {
  return (m_flat[b] - m_flat[a]).cross(m_flat[c] - m_flat[a]);
}

double PolygonCutter::TurnAt(std::uint32_t point) const {
  return Turn(m_previous[point], point, m_next[point]);
}

void PolygonCutter::FindReflex() {
  const std::size_t count = m_flat.size();
  m_next.resize(count);
  m_previous.resize(count);
  std::iota(m_next.begin(), m_next.end(), 1);
  std::iota(m_previous.begin() + 1, m_previous.end(), 0);
  m_next.back() = 0;
  m_previous.front() = static_cast<std::uint32_t>(count - 1);
  m_reflex.clear();
  m_isReflex.assign(count, false);
  for (std::uint32_t i = 0; i < count; ++i) {
    m_isReflex[i] = TurnAt(i) < 0;
    if (m_isReflex[i]) m_reflex.push_back(i);
  }
}

/// Whether the corner can be cut off: it bends outwards, and no other corner lies in its triangle.
/// Only those that bend inwards can.
bool PolygonCutter::IsEar(std::uint32_t point) {
  ++m_steps;
  if (TurnAt(point) <= 0) return false;
  const std::uint32_t a = m_previous[point], c = m_next[point];
  for (std::size_t i = 0; i < m_reflex.size();) {
    const std::uint32_t other = m_reflex[i];
    if (!m_isReflex[other]) {
      m_reflex[i] = m_reflex.back();
      m_reflex.pop_back();
      continue;
    }
    ++i;
    ++m_steps;
    const V2d& at = m_flat[other];
    const bool isCorner = at == m_flat[a] || at == m_flat[point] || at == m_flat[c];
    if (!isCorner && Turn(a, point, other) >= 0 && Turn(point, c, other) >= 0 &&
        Turn(c, a, other) >= 0) {
      return false;
    }
  }
  return true;
}

void PolygonCutter::CutEars(std::vector<std::uint32_t>& triangles) {
  auto left = static_cast<std::uint32_t>(m_flat.size());
  std::uint32_t point = 0, tries = 0;
  while (left >= 3) {
    // Where there is no ear, as in polygons that cross themselves, any corner has to go.
    const bool isCut = left == 3 || tries > left || IsSpent() || IsEar(point);
    if (!isCut) {
      point = m_next[point];
      ++tries;
      continue;
    }
    const std::uint32_t a = m_previous[point], c = m_next[point];
    triangles.insert(triangles.end(), {a, point, c});
    m_isReflex[point] = false;
    m_next[a] = c;
    m_previous[c] = a;
    m_isReflex[a] = m_isReflex[a] && TurnAt(a) < 0;
    m_isReflex[c] = m_isReflex[c] && TurnAt(c) < 0;
    point = c;
    tries = 0;
    --left;
  }
}

}  // namespace hostkit
