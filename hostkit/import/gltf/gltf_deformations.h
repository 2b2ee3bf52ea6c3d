// Meshes of a glTF file whose vertices move: skins and morph targets.
#pragma once

#include <map>
#include <vector>

#include "hostkit/import/gltf/gltf_meshes.h"
#include "hostkit/import/gltf/gltf_nodes.h"

namespace hostkit::gltf {

class Deformations {
 public:
  /// All must outlive it. `hasMovingWeights` tells by node whether an animation moves its weights.
  Deformations(Document& document, Accessors& accessors, Meshes& meshes, const NodeTree& tree,
               const NodeHooks& hooks, const std::vector<bool>& hasMovingWeights)
      : m_document(document),
        m_accessors(accessors),
        m_meshes(meshes),
        m_tree(tree),
        m_hooks(hooks),
        m_hasMovingWeights(hasMovingWeights) {}

  /// Whether the node's mesh is skinned.
  bool IsSkinned(int node) const;

  /// Gives the node a mesh of its own when the primitive's vertices move there. Returns the scene's
  /// mesh; -1 when they do not.
  int Add(int node, Primitive& primitive);

  /// The deformations of a node, as indices into SceneMotion::deformations.
  const std::vector<int>& Of(int node) { return m_ofNodes[node]; }

 private:
  std::vector<float> RestWeights(int node) const;
  bool Skin(int node, const Primitive& primitive, SceneDeformation& deformation);
  const std::vector<SceneJoint>& JointsOf(int skin);
  void AddTargets(int node, const Primitive& primitive, SceneDeformation& deformation);

  Document& m_document;
  Accessors& m_accessors;
  Meshes& m_meshes;
  const NodeTree& m_tree;
  const NodeHooks& m_hooks;
  const std::vector<bool>& m_hasMovingWeights;
  std::map<int, std::vector<SceneJoint>> m_joints;  ///< By skin.
  std::map<int, std::vector<int>> m_ofNodes;
};

}  // namespace hostkit::gltf
