// Skins and shapes of meshes into deformations.
#include "hostkit/import/import_deformations.h"

#include <Imath/ImathVec.h>
#include <assimp/mesh.h>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "hostkit/scene/directions.h"
#include "hostkit/scene/scene_motion.h"

namespace hostkit {
namespace {

using Imath::V3f;

// Of more joints on a vertex, those with the greatest weights count. Others would cost memory for
// every vertex of the mesh, and are too weak to be seen.
constexpr std::size_t kMostInfluences = 8;
constexpr unsigned kMostBones = 65535;  // their numbers have 16 bits, and there is one more joint
constexpr float kLargestWeight = 1e6f;

bool IsUsable(const aiVertexWeight& weight, const aiMesh& source) {
  return weight.mVertexId < source.mNumVertices && weight.mWeight > 0 &&
         std::isfinite(weight.mWeight);
}

/// Calls `use` for every weight of the mesh that can be used, with the number of its bone.
template <class Use>
void ForEachWeight(const aiMesh& source, const Use& use) {
  for (unsigned b = 0; b < source.mNumBones; ++b) {
    const aiBone& bone = *source.mBones[b];
    for (unsigned w = 0; bone.mWeights && w < bone.mNumWeights; ++w) {
      if (IsUsable(bone.mWeights[w], source)) use(b, bone.mWeights[w]);
    }
  }
}

/// The most joints that a vertex of the mesh has.
std::size_t CountInfluences(const aiMesh& source) {
  std::vector<std::uint32_t> counts(source.mNumVertices);
  std::uint32_t most = 0;
  ForEachWeight(source, [&](unsigned, const aiVertexWeight& weight) {
    most = std::max(most, ++counts[weight.mVertexId]);
  });
  return most;
}

/// Takes the joint in the place of the weakest one of a vertex, if it is stronger.
void Insert(std::uint16_t joint, float weight, std::size_t influences, std::uint16_t* joints,
            float* weights) {
  const auto weakest = std::min_element(weights, weights + influences) - weights;
  if (weight <= weights[weakest]) return;
  weights[weakest] = weight;
  joints[weakest] = joint;
}

/// Makes the weights of a vertex add up to 1; one without any follows `other` alone.
void Even(std::uint16_t other, std::size_t influences, std::uint16_t* joints, float* weights) {
  float sum = 0;
  for (std::size_t k = 0; k < influences; ++k) sum += weights[k];
  if (sum == 0) {
    joints[0] = other;
    weights[0] = 1;
    return;
  }
  for (std::size_t k = 0; k < influences; ++k) weights[k] /= sum;
}

void AddInfluences(const ImportContext& context, const aiMesh& source,
                   SceneDeformation& deformation) {
  const std::size_t most = source.mNumBones <= kMostBones ? CountInfluences(source) : 0;
  if (most == 0) return;
  if (most > kMostInfluences) {
    context.Warn(fmt::format("{}: vertices that follow more than {} joints follow the strongest",
                             context.path, kMostInfluences));
  }
  const std::size_t influences = std::min(most, kMostInfluences);
  const std::size_t count = source.mNumVertices;
  deformation.influences = static_cast<int>(influences);
  deformation.joints.resize(std::size_t{source.mNumBones} + 1);
  deformation.vertexJoints.resize(count * influences);
  deformation.vertexWeights.resize(count * influences);
  std::uint16_t* const joints = deformation.vertexJoints.data();
  float* const weights = deformation.vertexWeights.data();
  ForEachWeight(source, [&](unsigned bone, const aiVertexWeight& weight) {
    const std::size_t at = weight.mVertexId * influences;
    Insert(static_cast<std::uint16_t>(bone), std::min(weight.mWeight, kLargestWeight), influences,
           joints + at, weights + at);
  });
  for (std::size_t i = 0; i < count; ++i) {
    Even(static_cast<std::uint16_t>(source.mNumBones), influences, joints + i * influences,
         weights + i * influences);
  }
}

/// The way from a mesh's own vectors to those of a shape; zero where it is not finite.
std::vector<V3f> Differences(const aiVector3D* shape, const aiVector3D* own, std::size_t count) {
  std::vector<V3f> differences;
  differences.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const aiVector3D way = shape[i] - own[i];
    const V3f difference(way.x, way.y, way.z);
    differences.push_back(IsFinite(difference) ? difference : V3f(0.0f));
  }
  return differences;
}

/// The weight of a shape at rest. For most shapes of FBX files the import library gives 1, whatever
/// they say, which is mostly 0.
float RestWeight(const ImportContext& context, float given) {
  if (!std::isfinite(given)) return 0;
  if (given != 1) return given;
  context.Warn(
      fmt::format("{}: shapes count for nothing at rest, since their weights there cannot "
                  "be read; give them keys, or export it as glTF",
                  context.path));
  return 0;
}

void AddTargets(const ImportContext& context, const aiMesh& source, SceneDeformation& deformation) {
  const std::size_t count = source.mNumVertices;
  for (unsigned t = 0; t < source.mNumAnimMeshes; ++t) {
    const aiAnimMesh* shape = source.mAnimMeshes[t];
    const bool isGood = shape && shape->mVertices && shape->mNumVertices == count;
    // One that cannot be used keeps its number, since keys go by numbers.
    MorphTarget& target = deformation.targets.emplace_back();
    deformation.weights.push_back(isGood ? RestWeight(context, shape->mWeight) : 0);
    if (!isGood) {
      target.positions.resize(count, V3f(0.0f));
      continue;
    }
    target.positions = Differences(shape->mVertices, source.mVertices, count);
    if (!shape->mNormals || !source.mNormals) continue;
    target.normals = Differences(shape->mNormals, source.mNormals, count);
  }
}

/// The shapes of a morph controller. Normals stay as they are.
void AddMorph(const ImportContext& context, const aiMesh& source, SceneDeformation& deformation) {
  const std::vector<std::uint32_t>* numbers = nullptr;
  const ColladaMorph* morph = context.morphs ? context.morphs->Of(source, &numbers) : nullptr;
  if (!morph || numbers->size() != source.mNumVertices) return;
  deformation.weights = morph->weights;
  for (const std::vector<V3f>& ways : morph->ways) {
    MorphTarget& target = deformation.targets.emplace_back();
    target.positions.reserve(numbers->size());
    for (const std::uint32_t number : *numbers) target.positions.push_back(ways[number]);
  }
}

/// Behind the values of all vertices, `each` a vertex, those of the copies.
template <class Value>
void Repeat(std::vector<Value>& values, const std::vector<std::uint32_t>& copies,
            std::size_t each) {
  if (values.empty()) return;
  values.reserve(values.size() + copies.size() * each);
  for (const std::uint32_t vertex : copies) {
    for (std::size_t k = 0; k < each; ++k) values.push_back(Value(values[vertex * each + k]));
  }
}

}  // namespace

void ImportDeformation(const ImportContext& context, const aiMesh& source,
                       const std::vector<std::uint32_t>& copies, int mesh) {
  if (source.mNumBones == 0 && source.mNumAnimMeshes == 0 && !context.morphs) return;
  const SceneMesh& made = context.scene->meshes[static_cast<std::size_t>(mesh)];
  SceneDeformation deformation;
  deformation.mesh = mesh;
  AddTargets(context, source, deformation);
  if (deformation.targets.empty()) AddMorph(context, source, deformation);
  AddInfluences(context, source, deformation);
  if (deformation.targets.empty() && deformation.joints.empty()) return;
  deformation.positions = made.positions;
  deformation.normals = made.normals;
  for (MorphTarget& target : deformation.targets) {
    Repeat(target.positions, copies, 1);
    Repeat(target.normals, copies, 1);
  }
  Repeat(deformation.vertexJoints, copies, static_cast<std::size_t>(deformation.influences));
  Repeat(deformation.vertexWeights, copies, static_cast<std::size_t>(deformation.influences));
  context.scene->motion.deformations.push_back(std::move(deformation));
}

}  // namespace hostkit
