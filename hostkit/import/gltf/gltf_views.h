// Cameras and lights of a glTF file, one for each node that has one.
#pragma once

#include "hostkit/import/gltf/gltf_nodes.h"

namespace hostkit::gltf {

/// Fills Scene::cameras, and what of them moves.
void AddCameras(Document& document, const NodeTree& tree, const NodeHooks& hooks);

/// Fills Scene::lights, and what of them moves. Instances are there already: intensities and ranges
/// are worked out for the middle of the scene.
void AddLights(Document& document, const NodeTree& tree, const NodeHooks& hooks);

}  // namespace hostkit::gltf
