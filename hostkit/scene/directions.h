// Directions and placements of files, which may have no length or be beyond the numbers.
#pragma once

#include <Imath/ImathMatrix.h>
#include <Imath/ImathQuat.h>
#include <Imath/ImathVec.h>

#include <algorithm>
#include <cmath>

namespace hostkit {

inline bool IsFinite(const Imath::V3f& v) {
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

inline bool IsFinite(const Imath::Quatf& q) {
  return IsFinite(q.v) && std::isfinite(q.r);
}

inline bool IsFinite(const Imath::M44f& matrix) {
  const float* first = matrix.getValue();
  return std::all_of(first, first + 16, [](float value) { return std::isfinite(value); });
}

/// The vector at unit length; `fallback` where it has no length or an infinite one.
inline Imath::V3f UnitOr(const Imath::V3f& vector, const Imath::V3f& fallback) {
  const float length = vector.length();
  return length > 0 && std::isfinite(length) ? vector / length : fallback;
}

/// A direction in the space that `matrix` leads to, unit length; `fallback` as above.
inline Imath::V3f TurnedOr(const Imath::V3f& direction, const Imath::M44f& matrix,
                           const Imath::V3f& fallback) {
  Imath::V3f turned;
  matrix.multDirMatrix(direction, turned);
  return UnitOr(turned, fallback);
}

}  // namespace hostkit
