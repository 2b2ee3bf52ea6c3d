// Animations of a glTF file.
#pragma once

#include <vector>

#include "hostkit/import/gltf/gltf_deformations.h"

namespace hostkit::gltf {

/// What some animation of the file moves, by node.
struct MovedNodes {
  std::vector<bool> places, weights;
};

MovedNodes FindMoved(const Document& document);

/// Fills SceneMotion::animations. What hangs on the nodes is there already.
void AddAnimations(Document& document, Accessors& accessors, const NodeTree& tree,
                   const NodeHooks& hooks, Deformations& deformations);

}  // namespace hostkit::gltf
