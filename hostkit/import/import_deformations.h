// Skins and shapes of meshes into deformations.
#pragma once

#include <cstdint>
#include <vector>

#include "hostkit/import/import_context.h"

struct aiMesh;

namespace hostkit {

/// Adds a deformation of the scene's mesh `mesh`, which is made of `source`, when that has bones or
/// shapes. `copies` are the vertices that were added behind the source's own, each by the one that
/// it is a copy of. The joints are one a bone, in their order, and a last one for vertices that no
/// bone moves; where they are, ImportMotion tells.
void ImportDeformation(const ImportContext& context, const aiMesh& source,
                       const std::vector<std::uint32_t>& copies, int mesh);

}  // namespace hostkit
