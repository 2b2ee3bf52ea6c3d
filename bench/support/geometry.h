// What the benches draw. View space of bench::HostSurface: pixels from the picture's middle, y up,
// z from -1 to -1000.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/Vertices.h"

namespace bench {

/// Vertices of `triangles` triangles, three each, which share none.
using Triangles = std::vector<GAVertex>;

/// A sheet in waves over the whole picture, seen from its front: clockwise, normals to the viewer.
Triangles WavySheet(std::size_t triangles, int width, int height);

/// Small triangles all over the picture at depths of their own, in no order; counter-clockwise, as
/// the queue of transparent triangles draws them, with the normals of that side.
Triangles ScatteredTriangles(std::size_t triangles, int width, int height);

/// Minus the mean depth of a triangle, as the queue has it.
float DepthKey(const Triangles& triangles, std::size_t triangle);

/// The numbers of the triangles, the farthest first.
std::vector<std::size_t> OrderFarToNear(const Triangles& triangles);

/// The same triangles, the farthest first.
Triangles FarToNear(const Triangles& triangles);

/// 0, 1, 2, ... for `vertices` vertices.
std::vector<std::uint32_t> Sequence(std::size_t vertices);

}  // namespace bench
