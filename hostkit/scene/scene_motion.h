// What moves in a model: its animated nodes, their keys, and what hangs on them.
//
// Nodes that no animation moves are not kept: their matrices are folded into those of the nodes and
// parts below them. A point of a part gets to world space by toNode of the part, then by place and
// toParentNode of its node, of that node's parent, and so on.
#pragma once

#include <Imath/ImathMatrix.h>
#include <Imath/ImathQuat.h>
#include <Imath/ImathVec.h>

#include <cstdint>
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

/// How a value goes from key to key. Before the first and after the last it stands still.
enum class KeyCurve : std::uint8_t {
  kLinear,  ///< Straight; rotations along the shorter arc.
  kStep,    ///< It stays as at the last key.
  kCubic,   ///< Hermite spline through the keys, by their tangents.
};

/// In units of the value a second; of rotations the four numbers of the quaternion.
template <class Value>
struct KeyTangents {
  Value in, out;
};

template <class Value>
struct KeyTrack {
  KeyCurve curve = KeyCurve::kLinear;
  std::vector<AnimationKey<Value>> keys;     ///< By time.
  std::vector<KeyTangents<Value>> tangents;  ///< Of kCubic one a key, else none.
};

/// How an animation moves one node. What has no keys stays as in `rest`.
struct NodeChannel {
  int node = 0;
  NodePlace rest;
  KeyTrack<Imath::V3f> translations;
  KeyTrack<Imath::Quatf> rotations;  ///< Keys of unit length.
  KeyTrack<Imath::V3f> scales;
};

/// How an animation changes the weights of a deformation's morph targets.
struct WeightChannel {
  int deformation = 0;  ///< Index into SceneMotion::deformations.
  KeyCurve curve = KeyCurve::kLinear;
  std::vector<double> times;  ///< Seconds, in order.
  /// A weight for each target at each time, one time after the other; of kCubic three at each time:
  /// tangents in, values, tangents out.
  std::vector<float> values;
};

struct SceneAnimation {
  std::string name;
  int model = 0;        ///< Which of several merged models it belongs to.
  double duration = 0;  ///< Seconds until its last key.
  std::vector<NodeChannel> channels;
  std::vector<WeightChannel> weights;
};

/// A shape that a mesh goes towards, as differences to the mesh's own.
struct MorphTarget {
  std::vector<Imath::V3f> positions;
  std::vector<Imath::V3f> normals;  ///< Empty: normals stay as they are.
};

/// What a joint does to vertices: `toNode`, which holds the inverse bind matrix, leads from the
/// mesh's space to that of the node, and that one's place to the world.
struct SceneJoint {
  int node = -1;  ///< Index into SceneMotion::nodes; -1: `toNode` leads to the world.
  Imath::M44f toNode;
};

/// A mesh whose vertices move: its morph targets act first, then its joints. Its positions and
/// normals in Scene::meshes are those of the pose at hand. Skinned ones are posed in world space,
/// and their instance is placed by the unit matrix.
struct SceneDeformation {
  int mesh = 0;                       ///< Placed by one instance alone.
  std::vector<Imath::V3f> positions;  ///< Of the mesh before anything acts.
  std::vector<Imath::V3f> normals;
  std::vector<MorphTarget> targets;
  std::vector<float> weights;               ///< Of the targets, at rest.
  std::vector<SceneJoint> joints;           ///< None: the mesh is not skinned.
  int influences = 0;                       ///< Joints that act on each vertex; 0 without joints.
  std::vector<std::uint16_t> vertexJoints;  ///< `influences` a vertex: indices into `joints`.
  std::vector<float> vertexWeights;         ///< Likewise; those of a vertex add up to 1.
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
  std::vector<SceneDeformation> deformations;
  /// One line each, for whoever plays an animation: what of it cannot be shown.
  std::vector<std::string> warnings;
};

}  // namespace hostkit
