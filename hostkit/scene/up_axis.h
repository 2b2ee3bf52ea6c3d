// Which axis of a model is up, and turning to and from a world in which it is y.
#pragma once

#include <Imath/ImathVec.h>

#include <cstddef>
#include <cstdint>

namespace hostkit {

/// The direction that is up.
enum class UpAxis : std::uint8_t {
  kPlusX,   ///< Along x.
  kMinusX,  ///< Against x.
  kPlusY,   ///< Along y, as in the world of a Scene.
  kMinusY,  ///< Against y.
  kPlusZ,   ///< Along z.
  kMinusZ   ///< Against z.
};

/// Where the axes of a world with y up lie in one with another axis up: coordinate i is `sign[i]`
/// times coordinate `of[i]`. Up z and up x are as COLLADA has them: seen from the front, which is
/// z with y up, right is x, or -y where x is up.
struct AxisTurn {
  int of[3];      ///< Which coordinate of the world with y up.
  float sign[3];  ///< 1, or -1 where it is turned round.
};
/// Of each UpAxis.
inline constexpr AxisTurn kAxisTurns[] = {
    {{1, 0, 2}, {1, -1, 1}}, {{1, 0, 2}, {-1, 1, 1}},   // x, -x
    {{0, 1, 2}, {1, 1, 1}},  {{0, 1, 2}, {1, -1, -1}},  // y, -y
    {{0, 2, 1}, {1, -1, 1}}, {{0, 2, 1}, {1, 1, -1}},   // z, -z
};

/// A point or direction of a world with y up, in one with `up` up. Exact.
template <class Vector>
Vector FromYUp(UpAxis up, const Vector& v) {
  if (up == UpAxis::kPlusY) return v;
  const AxisTurn& turn = kAxisTurns[static_cast<std::size_t>(up)];
  Vector turned;
  for (int i = 0; i < 3; ++i) turned[i] = v[turn.of[i]] * turn.sign[i] + 0;  // no -0
  return turned;
}

/// The way back.
template <class Vector>
Vector ToYUp(UpAxis up, const Vector& v) {
  if (up == UpAxis::kPlusY) return v;
  const AxisTurn& turn = kAxisTurns[static_cast<std::size_t>(up)];
  Vector turned;
  for (int i = 0; i < 3; ++i) turned[turn.of[i]] = v[i] * turn.sign[i] + 0;
  return turned;
}

}  // namespace hostkit
