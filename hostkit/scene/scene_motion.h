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
  Imath::V3f translation{0, 0, 0};  ///< In units of the parent's space.
  Imath::Quatf rotation;            ///< Unit length.
  Imath::V3f scale{1, 1, 1};        ///< Along the node's own axes.
};

/// A node that an animation moves.
struct SceneNode {
  int parent = -1;           ///< A node that stands before this one; -1: the world.
  Imath::M44f place;         ///< At rest, in its parent's space in the file.
  Imath::M44f toParentNode;  ///< From there to the space of `parent`.
};

/// A value at a time.
template <class Value>
struct AnimationKey {
  double time = 0;  ///< Seconds.
  Value value;      ///< At that time.
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
  /// Before the key and behind it.
  Value in, out;
};

/// How a value changes over time.
template <class Value>
struct KeyTrack {
  KeyCurve curve = KeyCurve::kLinear;        ///< From key to key.
  std::vector<AnimationKey<Value>> keys;     ///< By time.
  std::vector<KeyTangents<Value>> tangents;  ///< Of kCubic one a key, else none.
};

/// How an animation moves one node. What has no keys stays as in `rest`.
struct NodeChannel {
  int node = 0;                       ///< Index into SceneMotion::nodes.
  NodePlace rest;                     ///< Its place without the animation.
  KeyTrack<Imath::V3f> translations;  ///< May be without keys, like the other two.
  KeyTrack<Imath::Quatf> rotations;   ///< Keys of unit length.
  KeyTrack<Imath::V3f> scales;        ///< Factors.
};

/// How an animation changes the weights of a deformation's morph targets.
struct WeightChannel {
  int deformation = 0;                 ///< Index into SceneMotion::deformations.
  KeyCurve curve = KeyCurve::kLinear;  ///< From key to key.
  std::vector<double> times;           ///< Seconds, in order.
  /// A weight for each target at each time, one time after the other; of kCubic three at each time:
  /// tangents in, values, tangents out.
  std::vector<float> values;
};

/// An animation of a file.
struct SceneAnimation {
  std::string name;                    ///< Of the file; may be empty.
  int model = 0;                       ///< Which of several merged models it belongs to.
  double duration = 0;                 ///< Seconds until its last key.
  std::vector<NodeChannel> channels;   ///< Of the nodes that it moves.
  std::vector<WeightChannel> weights;  ///< Of the shapes that it changes.
};

/// A shape that a mesh goes towards, as differences to the mesh's own.
struct MorphTarget {
  std::vector<Imath::V3f> positions;  ///< One a vertex.
  std::vector<Imath::V3f> normals;    ///< Empty: normals stay as they are.
};

/// What a joint does to vertices: `toNode`, which holds the inverse bind matrix, leads from the
/// mesh's space to that of the node, and that one's place to the world.
struct SceneJoint {
  int node = -1;       ///< Index into SceneMotion::nodes; -1: `toNode` leads to the world.
  Imath::M44f toNode;  ///< See above.
};

/// A mesh whose vertices move: its morph targets act first, then its joints. Its positions and
/// normals in Scene::meshes are those of the pose at hand. Skinned ones are posed in world space,
/// and their instance is placed by the unit matrix.
struct SceneDeformation {
  int mesh = 0;                             ///< Placed by one instance alone.
  std::vector<Imath::V3f> positions;        ///< Of the mesh before anything acts.
  std::vector<Imath::V3f> normals;          ///< Likewise.
  std::vector<MorphTarget> targets;         ///< Shapes that it goes towards.
  std::vector<float> weights;               ///< Of the targets, at rest.
  std::vector<SceneJoint> joints;           ///< None: the mesh is not skinned.
  int influences = 0;                       ///< Joints that act on each vertex; 0 without joints.
  std::vector<std::uint16_t> vertexJoints;  ///< `influences` a vertex: indices into `joints`.
  std::vector<float> vertexWeights;         ///< Likewise; those of a vertex add up to 1.
};

/// An instance that hangs on a node.
struct MovingInstance {
  /// Indices into Scene::instances and SceneMotion::nodes.
  int instance = 0, node = 0;
  Imath::M44f toNode;  ///< From the mesh's space to the node's.
};
/// A camera that hangs on a node.
struct MovingCamera {
  /// Indices into Scene::cameras and SceneMotion::nodes.
  int camera = 0, node = 0;
  /// In the node's space.
  Imath::V3f eye, forward, up;
};
/// A light that hangs on a node.
struct MovingLight {
  /// Indices into Scene::lights and SceneMotion::nodes.
  int light = 0, node = 0;
  /// In the node's space.
  Imath::V3f position, direction;
};

/// What of a scene moves; empty when nothing does.
struct SceneMotion {
  int models = 1;                              ///< That were merged.
  std::vector<SceneNode> nodes;                ///< Parents before their children.
  std::vector<SceneAnimation> animations;      ///< In the files' order.
  std::vector<MovingInstance> instances;       ///< That hang on nodes.
  std::vector<MovingCamera> cameras;           ///< That hang on nodes.
  std::vector<MovingLight> lights;             ///< That hang on nodes.
  std::vector<SceneDeformation> deformations;  ///< Meshes whose vertices move.
  /// One line each, for whoever plays an animation: what of it cannot be shown.
  std::vector<std::string> warnings;
};

}  // namespace hostkit
