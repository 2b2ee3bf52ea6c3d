// Placement: the node tree of a model file into instances, cameras and lights in world space.
#pragma once

#include <vector>

#include "hostkit/scene/import_context.h"

namespace hostkit {

/// Fills Scene::instances. `meshes` maps the source's meshes to the scene's, -1 meaning none.
void ImportInstances(const ImportContext& context, const std::vector<int>& meshes);

/// Fills Scene::cameras.
void ImportCameras(const ImportContext& context);

/// Fills Scene::lights. Instances are there already: intensities and ranges are worked out for the
/// middle of the scene.
void ImportLights(const ImportContext& context);

}  // namespace hostkit
