// Animations of model files into a scene's motion.
#include "hostkit/import/import_animations.h"

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>
#include <assimp/anim.h>
#include <assimp/camera.h>
#include <assimp/light.h>
#include <assimp/mesh.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "hostkit/import/import_nodes.h"
#include "hostkit/import/import_shape_keys.h"
#include "hostkit/scene/directions.h"
#include "hostkit/scene/scene_motion.h"

namespace hostkit {
namespace {

using Imath::M44d;
using Imath::M44f;
using Imath::Quatf;
using Imath::V3f;

constexpr double kUsualTicksPerSecond = 25;  // where a file does not tell

V3f ToValue(const aiVector3D& v) {
  return {v.x, v.y, v.z};
}

/// Unit length; no rotation where the file has none that can be used.
Quatf ToValue(const aiQuaternion& q) {
  const Quatf quaternion(q.w, q.x, q.y, q.z);
  const float length = quaternion.length();
  return length > 0 && std::isfinite(length) ? quaternion / length : Quatf();
}

/// Keys in seconds, by time; unusable ones are left out, and of several at one time the last stays.
template <class Key, class Value>
void CopyKeys(const Key* source, unsigned count, double ticksPerSecond,
              std::vector<AnimationKey<Value>>& keys) {
  for (unsigned i = 0; source && i < count; ++i) {
    const AnimationKey<Value> key{source[i].mTime / ticksPerSecond, ToValue(source[i].mValue)};
    if (std::isfinite(key.time) && IsFinite(key.value)) keys.push_back(key);
  }
  std::stable_sort(keys.begin(), keys.end(),
                   [](const auto& a, const auto& b) { return a.time < b.time; });
  std::reverse(keys.begin(), keys.end());
  const auto end = std::unique(keys.begin(), keys.end(),
                               [](const auto& a, const auto& b) { return a.time == b.time; });
  keys.erase(end, keys.end());
  std::reverse(keys.begin(), keys.end());
}

template <class Value>
double LastTime(const std::vector<AnimationKey<Value>>& keys) {
  return keys.empty() ? 0 : keys.back().time;
}

/// Collects one file's motion.
class MotionImport {
 public:
  explicit MotionImport(const ImportContext& context)
      : m_context(context),
        m_motion(context.scene->motion),
        m_deformed(context.scene->meshes.size(), -1) {
    IndexNames();
    for (unsigned a = 0; a < Source().mNumAnimations; ++a) MarkAnimated(*Source().mAnimations[a]);
  }

  void AddDeformations(const std::vector<int>& meshes, const std::vector<const aiNode*>& nodes);
  void AddInstances(const std::vector<const aiNode*>& nodes);
  void AddCameras();
  void AddLights(const std::vector<const aiLight*>& lights);
  void AddAnimations();
  void AddMorphKeys();

 private:
  const aiScene& Source() const { return *m_context.source; }
  void IndexNames();
  void MarkAnimated(const aiAnimation& animation);
  const aiNode* Find(const aiString& name) const;
  int Hang(const aiNode* node, M44d* toNode);
  int Keep(const aiNode* node);
  SceneJoint JointAt(const aiNode* node, const M44f& toJoint);
  void HangJoints(const aiMesh& source, const aiNode* own, SceneDeformation& deformation);
  SceneDeformation* DeformationOf(std::size_t instance);
  bool IsOf(const aiString& keys, std::size_t deformation) const;
  void AddChannel(const aiNodeAnim& source, double ticksPerSecond, SceneAnimation& animation);
  void AddWeights(const aiMeshMorphAnim& source, double ticksPerSecond, SceneAnimation& animation);
  static void AddWeightChannel(WeightChannel channel, std::size_t deformation,
                               SceneAnimation& animation);

  // From a node that is not animated to the nearest one above it that is.
  struct Way {
    int node = -1;  // its index among the kept, -1: the world
    M44d toNode;
  };

  const ImportContext& m_context;
  SceneMotion& m_motion;
  std::unordered_map<std::string, const aiNode*> m_byName;
  std::unordered_map<const aiNode*, int> m_animated;  // to their index among the kept, or -1
  std::unordered_map<const aiNode*, Way> m_ways;
  std::vector<int> m_deformed;           // by mesh, its deformation or -1
  std::vector<const aiMesh*> m_sources;  // by deformation
  std::vector<const aiNode*> m_places;   // by deformation, where its mesh hangs
};

/// The first node of each name, in the order that the import library itself looks for names.
void MotionImport::IndexNames() {
  std::vector<const aiNode*> pending{Source().mRootNode};
  while (!pending.empty()) {
    const aiNode* node = pending.back();
    pending.pop_back();
    if (!node) continue;
    m_byName.emplace(node->mName.C_Str(), node);
    for (unsigned i = node->mNumChildren; i > 0; --i) pending.push_back(node->mChildren[i - 1]);
  }
}

const aiNode* MotionImport::Find(const aiString& name) const {
  const auto found = m_byName.find(name.C_Str());
  return found == m_byName.end() ? nullptr : found->second;
}

void MotionImport::MarkAnimated(const aiAnimation& animation) {
  for (unsigned c = 0; c < animation.mNumChannels; ++c) {
    if (const aiNode* node = Find(animation.mChannels[c]->mNodeName)) m_animated.emplace(node, -1);
  }
}

/// The nearest animated node at or above `node`, and in `*toNode` the way to its space; -1 when
/// there is none.
int MotionImport::Hang(const aiNode* node, M44d* toNode) {
  // What is found out is kept for every node on the way: files may nest deeply.
  std::vector<const aiNode*> chain;
  while (node && !m_animated.count(node) && !m_ways.count(node)) {
    chain.push_back(node);
    node = node->mParent;
  }
  Way way;
  if (node) way = m_animated.count(node) ? Way{Keep(node), M44d()} : m_ways[node];
  for (; !chain.empty(); chain.pop_back()) {
    way.toNode = M44d(MatrixOf(*chain.back())) * way.toNode;
    m_ways.emplace(chain.back(), way);
  }
  *toNode = way.toNode;
  return way.node;
}

/// Adds an animated node with those above it, once.
int MotionImport::Keep(const aiNode* node) {
  // From the lowest that is not there yet; a loop, since files may nest deeply.
  std::vector<const aiNode*> chain;
  for (const aiNode* at = node; at; at = at->mParent) {
    const auto found = m_animated.find(at);
    if (found == m_animated.end()) continue;
    if (found->second >= 0) break;
    chain.push_back(at);
  }
  for (; !chain.empty(); chain.pop_back()) {
    SceneNode kept;
    M44d toParent;
    kept.place = MatrixOf(*chain.back());
    if (!IsFinite(kept.place)) kept.place = M44f();
    // Those above are there by now, so that this ends at once.
    kept.parent = Hang(chain.back()->mParent, &toParent);
    if (!IsFinite(M44f(toParent))) toParent = M44d();
    kept.toParentNode = M44f(toParent);
    m_animated[chain.back()] = static_cast<int>(m_motion.nodes.size());
    m_motion.nodes.push_back(kept);
    m_context.places->nodes.push_back(toParent);
  }
  return m_animated[node];
}

/// A joint on a node, `toJoint` leading from the mesh to it. Without a node, or where the way is
/// not finite, it leaves the mesh where it is.
SceneJoint MotionImport::JointAt(const aiNode* node, const M44f& toJoint) {
  SceneJoint joint;
  M44d toNode;
  if (node) joint.node = Hang(node, &toNode);
  joint.toNode = M44f(M44d(toJoint) * toNode);
  return IsFinite(joint.toNode) ? joint : SceneJoint();
}

/// Bones name their nodes. A vertex without bones, or with one that is not there, moves with the
/// node of the mesh, as if it had no skin.
void MotionImport::HangJoints(const aiMesh& source, const aiNode* own,
                              SceneDeformation& deformation) {
  deformation.joints.back() = JointAt(own, M44f());
  for (unsigned b = 0; b < source.mNumBones; ++b) {
    const aiBone& bone = *source.mBones[b];
    const aiNode* node = Find(bone.mName);
    const M44f toBone = ToMatrix(bone.mOffsetMatrix);
    const bool isGood = node && IsFinite(toBone);
    deformation.joints[b] = isGood ? JointAt(node, toBone) : deformation.joints.back();
  }
}

/// What moves the mesh of an instance; null when nothing does.
SceneDeformation* MotionImport::DeformationOf(std::size_t instance) {
  const int mesh = m_context.scene->instances[instance].mesh;
  const int deformation = m_deformed[static_cast<std::size_t>(mesh)];
  return deformation < 0 ? nullptr : &m_motion.deformations[static_cast<std::size_t>(deformation)];
}

void MotionImport::AddDeformations(const std::vector<int>& meshes,
                                   const std::vector<const aiNode*>& nodes) {
  std::vector<SceneDeformation>& deformations = m_motion.deformations;
  m_sources.resize(deformations.size());
  m_places.resize(deformations.size());
  for (std::size_t d = 0; d < deformations.size(); ++d) {
    m_deformed[static_cast<std::size_t>(deformations[d].mesh)] = static_cast<int>(d);
  }
  for (std::size_t m = 0; m < meshes.size(); ++m) {
    const int deformation = meshes[m] < 0 ? -1 : m_deformed[static_cast<std::size_t>(meshes[m])];
    if (deformation >= 0) m_sources[static_cast<std::size_t>(deformation)] = Source().mMeshes[m];
  }
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const SceneDeformation* deformation = DeformationOf(i);
    if (!deformation) continue;
    const aiNode*& place = m_places[static_cast<std::size_t>(deformation - deformations.data())];
    if (!place) place = nodes[i];
  }
  for (std::size_t d = 0; d < deformations.size(); ++d) {
    if (!deformations[d].joints.empty()) HangJoints(*m_sources[d], m_places[d], deformations[d]);
  }
}

void MotionImport::AddInstances(const std::vector<const aiNode*>& nodes) {
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    if (const SceneDeformation* deformation = DeformationOf(i);
        deformation && !deformation->joints.empty()) {
      m_context.scene->instances[i].toWorld = M44f();  // its joints lead there
      m_context.places->instances[i] = M44d();
      continue;
    }
    M44d toNode;
    MovingInstance moving;
    moving.instance = static_cast<int>(i);
    moving.node = Hang(nodes[i], &toNode);
    moving.toNode = M44f(toNode);
    if (moving.node >= 0) m_motion.instances.push_back(moving);
  }
}

void MotionImport::AddCameras() {
  for (unsigned i = 0; i < Source().mNumCameras; ++i) {
    const aiCamera& source = *Source().mCameras[i];
    M44d toNode;
    MovingCamera moving;
    moving.camera = static_cast<int>(i);
    moving.node = Hang(Find(source.mName), &toNode);
    if (moving.node < 0) continue;
    moving.eye = ToValue(source.mPosition) * toNode;
    toNode.multDirMatrix(ToValue(source.mLookAt), moving.forward);
    toNode.multDirMatrix(ToValue(source.mUp), moving.up);
    m_motion.cameras.push_back(moving);
  }
}

void MotionImport::AddLights(const std::vector<const aiLight*>& lights) {
  for (std::size_t i = 0; i < lights.size(); ++i) {
    M44d toNode;
    MovingLight moving;
    moving.light = static_cast<int>(i);
    moving.node = Hang(Find(lights[i]->mName), &toNode);
    if (moving.node < 0) continue;
    moving.position = ToValue(lights[i]->mPosition) * toNode;
    toNode.multDirMatrix(ToValue(lights[i]->mDirection), moving.direction);
    m_motion.lights.push_back(moving);
  }
}

void MotionImport::AddChannel(const aiNodeAnim& source, double ticksPerSecond,
                              SceneAnimation& animation) {
  const aiNode* node = Find(source.mNodeName);
  const auto kept = m_animated.find(node);
  if (!node || kept == m_animated.end() || kept->second < 0) return;  // nothing hangs on it
  NodeChannel channel;
  channel.node = kept->second;
  aiVector3D scale, translation;
  aiQuaternion rotation;
  node->mTransformation.Decompose(scale, rotation, translation);
  channel.rest = {ToValue(translation), ToValue(rotation), ToValue(scale)};
  CopyKeys(source.mPositionKeys, source.mNumPositionKeys, ticksPerSecond,
           channel.translations.keys);
  CopyKeys(source.mRotationKeys, source.mNumRotationKeys, ticksPerSecond, channel.rotations.keys);
  CopyKeys(source.mScalingKeys, source.mNumScalingKeys, ticksPerSecond, channel.scales.keys);
  if (m_context.collada && m_context.collada->HasSteps(node->mName.C_Str())) {
    channel.translations.curve = channel.rotations.curve = channel.scales.curve = KeyCurve::kStep;
  }
  animation.duration = std::max({animation.duration, LastTime(channel.translations.keys),
                                 LastTime(channel.rotations.keys), LastTime(channel.scales.keys)});
  animation.channels.push_back(std::move(channel));
}

/// Keys name the node of their mesh, some with a number behind it, or the mesh.
bool MotionImport::IsOf(const aiString& keys, std::size_t deformation) const {
  const std::string_view name = keys.C_Str();
  if (name == m_sources[deformation]->mName.C_Str()) return true;
  const aiNode* place = m_places[deformation];
  const std::string_view node = place ? place->mName.C_Str() : "";
  if (node.empty() || !name.starts_with(node)) return false;
  return name.size() == node.size() || name[node.size()] == '*';
}

void MotionImport::AddWeights(const aiMeshMorphAnim& source, double ticksPerSecond,
                              SceneAnimation& animation) {
  for (std::size_t d = 0; d < m_motion.deformations.size(); ++d) {
    const std::vector<float>& rest = m_motion.deformations[d].weights;
    if (rest.empty() || !IsOf(source.mName, d)) continue;
    AddWeightChannel(ImportShapeKeys(CollectShapeKeys(source, ticksPerSecond), rest), d, animation);
  }
}

void MotionImport::AddWeightChannel(WeightChannel channel, std::size_t deformation,
                                    SceneAnimation& animation) {
  if (channel.times.empty()) return;
  channel.deformation = static_cast<int>(deformation);
  animation.duration = std::max(animation.duration, channel.times.back());
  animation.weights.push_back(std::move(channel));
}

/// Keys of morph controllers go with the first animation.
void MotionImport::AddMorphKeys() {
  for (std::size_t d = 0; m_context.morphs && d < m_motion.deformations.size(); ++d) {
    const std::vector<std::uint32_t>* numbers = nullptr;
    const ColladaMorph* const morph = m_context.morphs->Of(*m_sources[d], &numbers);
    const std::vector<float>& rest = m_motion.deformations[d].weights;
    if (!morph || morph->keys.empty() || rest.empty()) continue;
    if (m_motion.animations.empty()) m_motion.animations.emplace_back();
    WeightChannel channel = ImportShapeKeys(morph->keys, rest);
    if (morph->areSteps) channel.curve = KeyCurve::kStep;
    AddWeightChannel(std::move(channel), d, m_motion.animations[0]);
  }
}

void MotionImport::AddAnimations() {
  for (unsigned a = 0; a < Source().mNumAnimations; ++a) {
    const aiAnimation& source = *Source().mAnimations[a];
    const double given = source.mTicksPerSecond;
    const double ticksPerSecond = given > 0 && std::isfinite(given) ? given : kUsualTicksPerSecond;
    SceneAnimation animation;
    animation.name = source.mName.C_Str();
    for (unsigned c = 0; c < source.mNumChannels; ++c) {
      AddChannel(*source.mChannels[c], ticksPerSecond, animation);
    }
    for (unsigned c = 0; c < source.mNumMorphMeshChannels; ++c) {
      AddWeights(*source.mMorphMeshChannels[c], ticksPerSecond, animation);
    }
    m_motion.animations.push_back(std::move(animation));
  }
}

}  // namespace

void ImportMotion(const ImportContext& context, const std::vector<int>& meshes,
                  const std::vector<const aiNode*>& instanceNodes,
                  const std::vector<const aiLight*>& lights) {
  const bool isDeformed = !context.scene->motion.deformations.empty();
  if (context.source->mNumAnimations == 0 && !isDeformed) return;
  MotionImport motion(context);
  motion.AddDeformations(meshes, instanceNodes);
  motion.AddInstances(instanceNodes);
  motion.AddCameras();
  motion.AddLights(lights);
  motion.AddAnimations();
  motion.AddMorphKeys();
}

}  // namespace hostkit
