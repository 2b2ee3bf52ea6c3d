// The nodes of a glTF file's scene, and where they are.
#pragma once

#include <Imath/ImathMatrix.h>

#include <string>
#include <vector>

#include "hostkit/import/gltf/gltf_document.h"
#include "hostkit/scene/scene_motion.h"

namespace hostkit::gltf {

/// Vectors have an entry for each node of the file, but `order`.
struct NodeTree {
  std::vector<int> order;            ///< The nodes of the scene, each behind its parent.
  std::vector<int> parents;          ///< -1 of those without.
  std::vector<Imath::M44f> places;   ///< In the parent's space.
  std::vector<Imath::M44d> toWorld;  ///< At rest; of nodes of the scene alone.
  std::vector<bool> isInScene;
};

/// Reads the nodes of the scene that the options ask for, or the file's own. On failure false with
/// one line in `*error`.
bool ReadNodes(Document& document, NodeTree* tree, std::string* error);

/// The node's place taken apart, as it is at rest.
NodePlace RestOf(Json node, const Imath::M44f& place);

/// An array of four floats as a rotation of unit length; none where it is no rotation.
Imath::Quatf ToRotation(const float* xyzw);

/// Keeps nodes that move, and finds what others hang on.
class NodeHooks {
 public:
  /// Adds those nodes of the tree that `isMoved` tells (by node) to the motion and to `places`.
  /// `tree` must outlive it.
  NodeHooks(const NodeTree& tree, const std::vector<bool>& isMoved, SceneMotion& motion,
            ExactPlaces& places);

  /// The index in the motion of the nearest kept node at or above `node`, and in `*toNode` the way
  /// from that node's space to its; -1, and the way to the world, when there is none.
  int Hang(int node, Imath::M44f* toNode) const;
  /// The index in the motion of a node; -1 when it is not kept.
  int KeptIndex(int node) const { return m_kept[static_cast<std::size_t>(node)]; }

 private:
  const NodeTree& m_tree;
  std::vector<int> m_kept;            ///< By node: its index, or -1.
  std::vector<int> m_hooks;           ///< By node: the index that it hangs on, or -1.
  std::vector<Imath::M44d> m_toHook;  ///< By node: the way to that one's space.
};

}  // namespace hostkit::gltf
