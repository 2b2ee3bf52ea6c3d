// The faces that close a solid where a plane cuts it.
#pragma once

#include <Imath/ImathVec.h>

#include <vector>

namespace hostkit {

/// A piece of a cut solid's outline, in two coordinates of the plane; the solid is on its left.
struct OutlinePiece {
  Imath::V2d from, to;
};

/// A part of a cap: between two heights, each end a line across. May be a triangle.
struct Trapezoid {
  double bottom, top;
  double bottomLeft, bottomRight, topLeft, topRight;
};

/// What the outlines enclose, as trapezoids that lie side by side. Pieces are joined by their ends;
/// ends less than `weld` apart in both coordinates may count as one. Outlines that do not close are
/// left out, and then the result is false, as it is when there is too much to be done.
bool FillOutlines(const std::vector<OutlinePiece>& pieces, double weld,
                  std::vector<Trapezoid>* trapezoids);

}  // namespace hostkit
