// What moves in a model: its animated nodes, their keys, and what hangs on them.
//
// Nodes that no animation moves are not kept: their matrices are folded into those of the nodes and
// parts below them. A point of a part gets to world space by toNode of the part, then by place and
// toParentNode of its node, of that node's parent, and so on.
#pragma once

#include <Imath/ImathMatrix.h>
#include <Imath/ImathQuat.h>
#include <Imath/ImathVec.h>

#include <string>
#include <vector>

namespace hostkit {

/// A node's place in its parent's space, taken apart: scaled, turned, then moved.
struct NodePlace {
  Imath::V3f translation{0, 0, 0};
  Imath::Quatf rotation;
  Imath::V3f scale{1, 1, 1};
};

struct SceneNode {
  int parent = -1;           ///< A node that stands before this one; -1: the world.
  Imath::M44f place;         ///< At rest, in its parent's space in the file.
  Imath::M44f toParentNode;  ///< From there to the space of `parent`.
};

template <class Value>
struct AnimationKey {
  double time = 0;  ///< Seconds.
  Value value;
};

/// How an animation moves one node. What has no keys stays as in `rest`.
struct NodeChannel {
  int node = 0;
  NodePlace rest;
  std::vector<AnimationKey<Imath::V3f>> translations;  ///< By time, as all keys are.
  std::vector<AnimationKey<Imath::Quatf>> rotations;   ///< Unit length.
  std::vector<AnimationKey<Imath::V3f>> scales;
};

struct SceneAnimation {
  std::string name;
  int model = 0;        ///< Which of several merged models it belongs to.
  double duration = 0;  ///< Seconds until its last key.
  std::vector<NodeChannel> channels;
};

/// Indices are those of the scene's instances, cameras and lights.
struct MovingInstance {
  int instance = 0, node = 0;
  Imath::M44f toNode;
};
struct MovingCamera {
  int camera = 0, node = 0;
  Imath::V3f eye, forward, up;  ///< In the node's space.
};
struct MovingLight {
  int light = 0, node = 0;
  Imath::V3f position, direction;  ///< In the node's space.
};

/// Empty when nothing moves.
struct SceneMotion {
  int models = 1;  ///< That were merged.
  std::vector<SceneNode> nodes;
  std::vector<SceneAnimation> animations;
  std::vector<MovingInstance> instances;
  std::vector<MovingCamera> cameras;
  std::vector<MovingLight> lights;
  /// One line each, for whoever plays an animation: what of it cannot be shown.
  std::vector<std::string> warnings;
};

}  // namespace hostkit
