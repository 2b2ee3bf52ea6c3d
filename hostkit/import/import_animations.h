// Animations of model files into a scene's motion.
#pragma once

#include <vector>

#include "hostkit/import/import_context.h"

struct aiLight;
struct aiNode;

namespace hostkit {

/// Fills Scene::motion when the source has animations. `instanceNodes` are the nodes that the
/// scene's instances hang on, `lights` the source's lights that the scene's were made of; cameras
/// are the source's, one by one. Instances, cameras and lights are there already.
void ImportMotion(const ImportContext& context, const std::vector<const aiNode*>& instanceNodes,
                  const std::vector<const aiLight*>& lights);

}  // namespace hostkit
