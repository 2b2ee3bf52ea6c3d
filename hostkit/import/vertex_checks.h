// Vertices of files, which may lie beyond what can be drawn.
#pragma once

#include <Imath/ImathVec.h>

#include <vector>

namespace hostkit {

/// Tells which positions are not finite, or too far away for their squares to be, and moves them
/// onto one that can be drawn, so that they do not count in any bounds. Empty when all are good.
std::vector<bool> TakeOutBadPositions(std::vector<Imath::V3f>& positions);

}  // namespace hostkit
