// Primitives of all kinds into lists of triangles, lines and points.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "hostkit/scene/scene.h"

namespace hostkit::gltf {

/// How many indices one face of a primitive's mode has: 3, 2 or 1; 0 of what is no mode.
std::size_t CornersOf(int mode);

/// The corners of a primitive's faces, CornersOf(mode) each. What is too much for a last face is
/// left out.
std::vector<std::uint32_t> ListFaces(int mode, std::vector<std::uint32_t> indices);

/// Takes out the faces that have a corner at or beyond `count`, or one that is `bad` (empty: none).
/// Returns how many.
std::size_t DropFaces(std::vector<std::uint32_t>& list, std::size_t corners, std::size_t count,
                      const std::vector<bool>& bad);

/// Gives each triangle of a mesh of positions and triangles alone the normal that it faces.
/// Vertices that triangles share which face elsewhere are split: for each one added, the one it was
/// split from.
std::vector<std::uint32_t> MakeFlatNormals(SceneMesh& mesh);

}  // namespace hostkit::gltf
