// Polygons into triangles.
#pragma once

#include <Imath/ImathVec.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace hostkit {

/// Cuts polygons of any shape, one after the other. What hostile ones can make of that is bounded:
/// after a thousand million steps, a few seconds, polygons are cut anyhow.
class PolygonCutter {
 public:
  /// Appends n - 2 triangles of the n points, three numbers of points each, turning the same way;
  /// nothing for fewer than three points. Points need not lie in one plane exactly.
  void Cut(std::span<const Imath::V3f> points, std::vector<std::uint32_t>& triangles);

  /// Whether some polygons were cut anyhow.
  bool IsSpent() const { return m_steps > kMostSteps; }

 private:
  static constexpr std::uint64_t kMostSteps = 1'000'000'000;

  void Flatten(std::span<const Imath::V3f> points);
  double Turn(std::uint32_t a, std::uint32_t b, std::uint32_t c) const;
  double TurnAt(std::uint32_t point) const;
  bool IsEar(std::uint32_t point);
  void FindReflex();
  void CutEars(std::vector<std::uint32_t>& triangles);

  std::vector<Imath::V2d> m_flat;  ///< Counter-clockwise.
  std::vector<std::uint32_t> m_next, m_previous;
  std::vector<std::uint32_t> m_reflex;  ///< Points whose inner angle is above 180 degrees.
  std::vector<bool> m_isReflex;
  std::uint64_t m_steps = 0;
};

}  // namespace hostkit
