// Meshes of a glTF file whose vertices move: skins and morph targets.
#include "hostkit/import/gltf/gltf_deformations.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <set>
#include <utility>

#include "hostkit/scene/directions.h"

namespace hostkit::gltf {
namespace {

using Imath::M44f;
using Imath::V3f;

constexpr int kMostSets = 16;  // of four influences
constexpr std::size_t kEach = 4;

/// Differences that are not finite become none.
std::vector<V3f> ReadDifferences(const Accessor* accessor, const Selection& vertices) {
  std::vector<V3f> differences(vertices.count, V3f(0.0f));
  if (accessor) differences = ReadVectors<V3f>(*accessor, vertices);
  for (V3f& difference : differences) {
    if (!IsFinite(difference)) difference = V3f(0.0f);
  }
  return differences;
}

/// Makes a vertex's weights add up to 1, all on its first joint where it has none, and takes
/// influence from joints that are not there.
void Normalize(std::size_t each, std::size_t joints, std::uint16_t* vertexJoints, float* weights) {
  float sum = 0;
  for (std::size_t i = 0; i < each; ++i) {
    const bool isGood = vertexJoints[i] < joints && weights[i] > 0 && std::isfinite(weights[i]);
    if (!isGood) weights[i] = 0;
    if (vertexJoints[i] >= joints) vertexJoints[i] = 0;
    sum += weights[i];
  }
  if (sum <= 0 || !std::isfinite(sum)) {
    std::fill(weights, weights + each, 0.0f);
    weights[0] = sum = 1;
  }
  for (std::size_t i = 0; i < each; ++i) weights[i] /= sum;
}

/// Puts one set of four influences into its place among `each` of a vertex.
void PlaceSet(const std::vector<std::uint32_t>& joints, const std::vector<float>& weights,
              std::size_t set, std::size_t each, SceneDeformation& deformation) {
  constexpr std::uint32_t kNone = 0xFFFF;
  for (std::size_t vertex = 0; vertex < joints.size() / kEach; ++vertex) {
    for (std::size_t i = 0; i < kEach; ++i) {
      const std::size_t to = vertex * each + set * kEach + i;
      deformation.vertexJoints[to] =
          static_cast<std::uint16_t>(std::min(joints[vertex * kEach + i], kNone));
      deformation.vertexWeights[to] = weights[vertex * kEach + i];
    }
  }
}

}  // namespace

bool Deformations::IsSkinned(int node) const {
  const Json skin = m_document.Item("skins", IndexOf(m_document.Item("nodes", node), "skin"));
  return Length(Member(skin, "joints")) > 0;
}

/// The weights of the node, else of its mesh; none where neither tells any.
std::vector<float> Deformations::RestWeights(int node) const {
  const Json json = m_document.Item("nodes", node);
  const Json own = Member(json, "weights");
  const Json weights =
      own.IsList() ? own : Member(m_document.Item("meshes", IndexOf(json, "mesh")), "weights");
  std::vector<float> numbers;
  for (std::size_t i = 0; i < Length(weights); ++i) {
    const float number = ToFloat(weights[i].Number());
    numbers.push_back(std::isfinite(number) ? number : 0);
  }
  return numbers;
}

const std::vector<SceneJoint>& Deformations::JointsOf(int skin) {
  const auto [entry, isNew] = m_joints.try_emplace(skin);
  if (!isNew) return entry->second;
  const Json json = m_document.Item("skins", skin);
  const Json nodes = Member(json, "joints");
  const Accessor* binds = m_accessors.Get(IndexOf(json, "inverseBindMatrices"));
  const bool hasBinds = binds && binds->components == 16 && binds->count >= Length(nodes);
  if (!hasBinds && Member(json, "inverseBindMatrices").IsNumber()) {
    m_document.Note("skins are taken without their inverse bind matrices, which are broken",
                    m_document.NameOf("skin", json, skin));
  }
  for (std::size_t i = 0; i < Length(nodes); ++i) {
    SceneJoint joint;
    M44f bind, toNode;
    if (hasBinds) ReadFloats(*binds, {i, 1, {}}, 16, 0, bind.getValue());
    const int node = IndexFrom(nodes[i]);
    const bool isThere = node >= 0 && static_cast<std::size_t>(node) < m_tree.parents.size() &&
                         m_tree.isInScene[static_cast<std::size_t>(node)];
    if (isThere) joint.node = m_hooks.Hang(node, &toNode);
    joint.toNode = bind * toNode;
    if (!isThere || !IsFinite(joint.toNode)) {
      m_document.Note("joints that are not in the scene, or whose place is not finite, stand still",
                      m_document.NameOf("skin", json, skin));
      if (!IsFinite(joint.toNode)) joint.toNode = M44f();
    }
    entry->second.push_back(joint);
  }
  return entry->second;
}

bool Deformations::Skin(int node, const Primitive& primitive, SceneDeformation& deformation) {
  const std::size_t count = primitive.vertices.count;
  std::vector<std::pair<const Accessor*, const Accessor*>> sets;
  for (int set = 0; set < kMostSets; ++set) {
    const Accessor* joints = m_meshes.Attribute(primitive, fmt::format("JOINTS_{}", set).c_str());
    const Accessor* weights = m_meshes.Attribute(primitive, fmt::format("WEIGHTS_{}", set).c_str());
    if (!joints || !weights || joints->components != 4 || weights->components != 4) break;
    sets.emplace_back(joints, weights);
  }
  if (sets.empty()) return false;
  deformation.joints = JointsOf(IndexOf(m_document.Item("nodes", node), "skin"));
  const std::size_t each = kEach * sets.size();
  deformation.influences = static_cast<int>(each);
  deformation.vertexJoints.resize(count * each);
  deformation.vertexWeights.resize(count * each);
  std::vector<std::uint32_t> joints;
  std::vector<float> weights(count * kEach);
  for (std::size_t set = 0; set < sets.size(); ++set) {
    if (!ReadWholes(*sets[set].first, primitive.vertices, kEach, &joints)) {
      joints.assign(count * kEach, 0);
    }
    ReadFloats(*sets[set].second, primitive.vertices, kEach, 0, weights.data());
    PlaceSet(joints, weights, set, each, deformation);
  }
  for (std::size_t vertex = 0; vertex < count; ++vertex) {
    Normalize(each, deformation.joints.size(), &deformation.vertexJoints[vertex * each],
              &deformation.vertexWeights[vertex * each]);
  }
  return true;
}

/// Those whose weights stay 0 are left out.
void Deformations::AddTargets(int node, const Primitive& primitive, SceneDeformation& deformation) {
  const Json targets = Member(primitive.json, "targets");
  std::vector<float> weights = RestWeights(node);
  const bool isShown = m_hasMovingWeights[static_cast<std::size_t>(node)] ||
                       std::any_of(weights.begin(), weights.end(), [](float w) { return w != 0; });
  if (Length(targets) == 0 || !isShown) return;
  weights.resize(Length(targets), 0);
  deformation.weights = std::move(weights);
  const std::vector<SceneMesh>& meshes = m_document.Source().scene.meshes;
  const bool hasNormals = !meshes[static_cast<std::size_t>(primitive.mesh)].normals.empty();
  for (std::size_t i = 0; i < Length(targets); ++i) {
    const Accessor* positions = m_meshes.TargetAttribute(primitive, targets[i], "POSITION");
    const Accessor* normals = m_meshes.TargetAttribute(primitive, targets[i], "NORMAL");
    MorphTarget target;
    target.positions = ReadDifferences(positions, primitive.vertices);
    if (normals && hasNormals) target.normals = ReadDifferences(normals, primitive.vertices);
    deformation.targets.push_back(std::move(target));
  }
}

int Deformations::Add(int node, Primitive& primitive) {
  Scene& scene = m_document.Source().scene;
  SceneDeformation deformation;
  const bool isSkinned = IsSkinned(node) && Skin(node, primitive, deformation);
  AddTargets(node, primitive, deformation);
  if (!isSkinned && deformation.targets.empty()) return -1;
  deformation.mesh = m_meshes.OwnMesh(primitive);
  const SceneMesh& mesh = scene.meshes[static_cast<std::size_t>(deformation.mesh)];
  deformation.positions = mesh.positions;
  deformation.normals = mesh.normals;
  m_ofNodes[node].push_back(static_cast<int>(scene.motion.deformations.size()));
  scene.motion.deformations.push_back(std::move(deformation));
  return scene.motion.deformations.back().mesh;
}

}  // namespace hostkit::gltf
