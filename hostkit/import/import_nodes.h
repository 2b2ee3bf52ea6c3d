// Placement: the node tree of a model file into instances, cameras and lights in world space.
#pragma once

#include <Imath/ImathMatrix.h>
#include <assimp/matrix4x4.h>

#include <vector>

#include "hostkit/import/import_context.h"

struct aiLight;
struct aiNode;

namespace hostkit {

/// Column vectors to row vectors.
Imath::M44f ToMatrix(const aiMatrix4x4& matrix);

/// A node's placement in its parent's space.
Imath::M44f MatrixOf(const aiNode& node);

/// Fills Scene::instances, and returns the node that each hangs on. `meshes` maps the source's
/// meshes to the scene's, -1 meaning none.
std::vector<const aiNode*> ImportInstances(const ImportContext& context,
                                           const std::vector<int>& meshes);

/// Fills Scene::cameras.
void ImportCameras(const ImportContext& context);

/// Fills Scene::lights, and returns the source's light that each was made of. Instances are there
/// already: intensities and ranges are worked out for the middle of the scene.
std::vector<const aiLight*> ImportLights(const ImportContext& context);

}  // namespace hostkit
