// The outermost of a mesh's vertices.
#pragma once

#include <Imath/ImathVec.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace hostkit {

/// Of meshes with more vertices every nth is looked at.
constexpr std::size_t kMaxVerticesToInspect = 200000;

/// Unit vectors all over the sphere. Of a ball, the points that lie farthest in each of them miss
/// at most 8 percent of the radius, in the direction farthest from all.
std::vector<Imath::V3f> SpreadDirections();

/// Of each group of vertices those that lie farthest in any of SpreadDirections. `groups` has one
/// number below `groupCount` a vertex. Every `step`th vertex is looked at. In order, each once.
std::vector<std::uint32_t> ExtremeVertices(const std::vector<Imath::V3f>& positions,
                                           const std::vector<std::uint16_t>& groups,
                                           std::size_t groupCount, std::size_t step);

}  // namespace hostkit
