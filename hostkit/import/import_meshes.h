// Meshes of model files into scene meshes.
#pragma once

#include <vector>

#include "hostkit/import/import_context.h"
#include "hostkit/import/import_materials.h"

namespace hostkit {

/// Fills Scene::meshes, and the deformations of those that have any (see ImportDeformation). The
/// result has one entry a mesh of the source: its index in the scene, or -1 when nothing of it can
/// be drawn. Materials are there already, with their traits.
std::vector<int> ImportMeshes(const ImportContext& context,
                              const std::vector<MaterialTraits>& traits);

}  // namespace hostkit
