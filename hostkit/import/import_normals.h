// Normals for triangles that come without.
#pragma once

#include <cstdint>
#include <vector>

#include "hostkit/scene/scene.h"

namespace hostkit {

/// Makes a mesh's normals from its triangles: smooth over edges that are bent by less than 60
/// degrees, sharp over others, whether or not the triangles share their vertices. Vertices are
/// duplicated, with all that belongs to them, where their triangles need different normals: returns
/// for each that was added the one, of those that were there before, that it is a copy of.
std::vector<std::uint32_t> MakeNormals(SceneMesh& mesh);

/// Brings the mesh's normals to unit length, and puts the normal of a triangle in place of those
/// that have no direction.
void RepairNormals(SceneMesh& mesh);

}  // namespace hostkit
