// Small models in many formats, and large ones of any number of triangles.
#pragma once

#include <cstdint>
#include <string>

#include "samples/shapes.h"

namespace samples {

/// Writes a red cube, from -0.5 to 0.5, as cube.obj with cube.mtl, cube.ply, cube.stl, cube.dae,
/// cube.3ds and cube.fbx into `folder`.
bool WriteCubes(const std::string& folder, std::string* error);

/// Binary little-endian PLY: positions, normals and triangles.
std::string ToPly(const Shape& shape);

/// A bumpy sphere of that many triangles as .ply or .glb, by the suffix of `path`.
bool WriteBumpySphere(const std::string& path, std::uint32_t triangles, std::string* error);

}  // namespace samples
