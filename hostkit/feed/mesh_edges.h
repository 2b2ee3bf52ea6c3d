// Edges of meshes, as drawings show them.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "hostkit/scene/scene.h"

namespace hostkit {

/// An edge of triangles; those that meet at vertices of one place share it.
struct MeshEdge {
  std::uint32_t a = 0, b = 0;   ///< Indices into the mesh's positions.
  std::uint32_t left = 0;       ///< A triangle at it.
  std::int32_t right = -1;      ///< The other one; -1 when it has one neighbour, or more than two.
  float cosine = 1;             ///< Of the angle between the two triangles' outward normals.
  bool oppositeWinding = true;  ///< As it should be: the two see the same side as their front.
};

/// Every edge of the mesh's triangles once, in no order. Edges without length are left out.
/// Which triangles share one goes by their vertices before `deformation` acts, where that moves the
/// mesh; angles are those of the mesh as it is.
std::vector<MeshEdge> FindEdges(const SceneMesh& mesh,
                                const SceneDeformation* deformation = nullptr);

/// Measures the angles at the edges of a mesh anew.
void MeasureAngles(const SceneMesh& mesh, std::vector<MeshEdge>& edges);

/// The edges of a scene's meshes, found when they are first asked for.
class SceneEdges {
 public:
  /// `index` names the mesh in `scene`, the same scene at every call, posed as it may be.
  const std::vector<MeshEdge>& OfMesh(const Scene& scene, int index);

 private:
  std::map<int, std::vector<MeshEdge>> m_edges;
  std::vector<const SceneDeformation*> m_deformations;  // by mesh
};

}  // namespace hostkit
