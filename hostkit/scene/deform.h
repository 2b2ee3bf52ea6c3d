// Moves the vertices of meshes, by morph targets and joints.
#pragma once

#include <Imath/ImathMatrix.h>

#include <vector>

#include "hostkit/scene/scene.h"
#include "hostkit/scene/scene_motion.h"

namespace hostkit {

/// What a deformation's vertices are placed by.
struct DeformationPose {
  std::vector<float> weights;              ///< Of its targets.
  std::vector<Imath::M44f> jointsToPosed;  ///< By joint: from the mesh's space to the posed one.

  bool operator==(const DeformationPose&) const = default;
};

/// A mesh to be posed.
struct DeformedMesh {
  const SceneDeformation* deformation = nullptr;  ///< How it moves; not owned.
  const DeformationPose* pose = nullptr;          ///< Of that deformation.
  SceneMesh* mesh = nullptr;                      ///< Likewise.
};

/// Puts positions and unit normals of the meshes, each of which is named once, where their poses
/// have them, and tells whether they are mirrored; large ones on all processors. A vertex that
/// would come out not finite stays as it is in the mesh, and a normal that would lose its length
/// keeps its direction from before.
void DeformMeshes(const std::vector<DeformedMesh>& meshes);

/// The deformation of each of the scene's meshes; null where it has none.
std::vector<const SceneDeformation*> DeformationsByMesh(const Scene& scene);

}  // namespace hostkit
