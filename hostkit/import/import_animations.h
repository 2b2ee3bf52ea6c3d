// Animations of model files into a scene's motion.
#pragma once

#include <vector>

#include "hostkit/import/import_context.h"

struct aiLight;
struct aiNode;

namespace hostkit {

/// Fills Scene::motion with what the source's animations move, and hangs the joints of deformations
/// on it, which are there already as instances, cameras and lights are; a joint that nothing moves
/// leads to the world. `meshes` maps the source's meshes to the scene's, -1 meaning none.
/// `instanceNodes` are the nodes that the scene's instances hang on, `lights` the source's lights
/// that the scene's were made of; cameras are the source's, one by one.
void ImportMotion(const ImportContext& context, const std::vector<int>& meshes,
                  const std::vector<const aiNode*>& instanceNodes,
                  const std::vector<const aiLight*>& lights);

}  // namespace hostkit
