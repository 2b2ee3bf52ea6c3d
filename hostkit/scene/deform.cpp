// Moves the vertices of meshes, by morph targets and joints.
#include "hostkit/scene/deform.h"

#include <Imath/ImathVec.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "hostkit/scene/directions.h"
#include "hostkit/services/share_work.h"

namespace hostkit {
namespace {

using Imath::M44f;
using Imath::V3d;
using Imath::V3f;

// Vertices that are worked on at once: with their normals they stay in the nearest cache.
constexpr std::size_t kPiece = 1024;
// A thread of its own pays from about this many vertices on.
constexpr std::size_t kVerticesAThread = 32768;
// Squared lengths between which normals can be divided by their length as floats.
constexpr float kLeastSquare = 1e-30f, kMostSquare = 1e30f;

/// Four floats that are worked on at once, as all processors can.
using Lanes = float __attribute__((vector_size(16)));

Lanes Load(const float* from) {
  Lanes lanes;
  std::memcpy(&lanes, from, sizeof lanes);
  return lanes;
}

/// x, y, z as y, z, x.
Lanes Turned(Lanes v) {
  return __builtin_shufflevector(v, v, 1, 2, 0, 3);
}

/// The rows of a matrix for row vectors.
struct Rows {
  Lanes x, y, z, origin;
};

Rows RowsOf(const M44f& matrix) {
  return {Load(matrix[0]), Load(matrix[1]), Load(matrix[2]), Load(matrix[3])};
}

V3f ToVector(Lanes v) {
  return {v[0], v[1], v[2]};
}

V3d ToDoubles(Lanes v) {
  return {v[0], v[1], v[2]};
}

/// A normal beyond what floats can square: those of matrices that are very small or very large.
V3f FarNormal(const Rows& rows, const V3f& normal) {
  const V3d x = ToDoubles(rows.x), y = ToDoubles(rows.y), z = ToDoubles(rows.z);
  const V3d turned = y.cross(z) * normal.x + z.cross(x) * normal.y + x.cross(y) * normal.z;
  const double length = turned.length();
  return length > 0 && std::isfinite(length) ? V3f(turned / length) : normal;
}

/// The normal with the cofactors of the rows, which are their inverse transpose but for a factor
/// and exist also for a matrix that flattens. Where it mirrors, normals stay on the side from which
/// triangles are counter-clockwise.
V3f PlacedNormal(const Rows& rows, const V3f& normal) {
  const Lanes x = Turned(rows.x), y = Turned(rows.y), z = Turned(rows.z);
  // Cross products before their last turn, which is the same for all.
  const Lanes sum = (rows.y * z - y * rows.z) * normal.x + (rows.z * x - z * rows.x) * normal.y +
                    (rows.x * y - x * rows.y) * normal.z;
  const V3f turned = ToVector(Turned(sum));
  const float square = turned.x * turned.x + turned.y * turned.y + turned.z * turned.z;
  if (square > kLeastSquare && square < kMostSquare) return turned / std::sqrt(square);
  return FarNormal(rows, normal);
}

/// Adds the difference, times `weight`, to as many vectors.
void AddDifference(const V3f* difference, float weight, std::size_t count, V3f* vectors) {
  if (count == 0) return;
  const float* from = difference->getValue();
  float* to = vectors->getValue();
  const std::size_t floats = 3 * count;
  std::size_t i = 0;
  for (; i + 4 <= floats; i += 4) {
    const Lanes sum = Load(to + i) + Load(from + i) * weight;
    std::memcpy(to + i, &sum, sizeof sum);
  }
  for (; i < floats; ++i) to[i] += from[i] * weight;
}

/// Whether all are finite. What is not leaves a mark when it is multiplied by zero.
bool AreFinite(const V3f* vectors, std::size_t count) {
  if (count == 0) return true;
  const float* const from = vectors->getValue();
  const std::size_t floats = 3 * count;
  Lanes marks = {};
  std::size_t i = 0;
  for (; i + 4 <= floats; i += 4) marks += Load(from + i) * 0.0f;
  for (; i < floats; ++i) marks[0] += from[i] * 0.0f;
  return marks[0] + marks[1] + marks[2] + marks[3] == 0;
}

/// One mesh with what is the same for all its vertices.
class MeshDeformer {
 public:
  explicit MeshDeformer(const DeformedMesh& deformed);

  std::size_t PieceCount() const { return (m_from.positions.size() + kPiece - 1) / kPiece; }
  std::size_t VertexCount() const { return m_from.positions.size(); }
  void DeformPiece(std::size_t piece) const;

 private:
  struct Vertices {
    V3f positions[kPiece], normals[kPiece];
  };
  void Morph(std::size_t first, std::size_t count, Vertices& vertices) const;
  void Skin(std::size_t first, std::size_t count, Vertices& vertices) const;
  Rows BlendedRows(std::size_t vertex) const;
  bool IsMirrored() const;

  const SceneDeformation& m_from;
  const DeformationPose& m_pose;
  SceneMesh& m_mesh;
  std::vector<std::size_t> m_targets;  // those that act
  std::vector<Rows> m_joints;
};

MeshDeformer::MeshDeformer(const DeformedMesh& deformed)
    : m_from(*deformed.deformation), m_pose(*deformed.pose), m_mesh(*deformed.mesh) {
  for (std::size_t t = 0; t < m_pose.weights.size(); ++t) {
    if (m_pose.weights[t] != 0) m_targets.push_back(t);
  }
  m_joints.reserve(m_pose.jointsToPosed.size());
  for (const M44f& matrix : m_pose.jointsToPosed) m_joints.push_back(RowsOf(matrix));
  m_mesh.isMirrored = IsMirrored();
}

/// Whether most of the mesh follows joints that mirror.
bool MeshDeformer::IsMirrored() const {
  std::vector<bool> mirrors;
  mirrors.reserve(m_joints.size());
  for (const Rows& joint : m_joints) {
    const V3d x = ToDoubles(joint.x), y = ToDoubles(joint.y), z = ToDoubles(joint.z);
    mirrors.push_back(x.dot(y.cross(z)) < 0);
  }
  if (std::find(mirrors.begin(), mirrors.end(), true) == mirrors.end()) return false;
  double balance = 0;
  for (std::size_t i = 0; i < m_from.vertexJoints.size(); ++i) {
    balance += mirrors[m_from.vertexJoints[i]] ? m_from.vertexWeights[i] : -m_from.vertexWeights[i];
  }
  return balance > 0;
}

void MeshDeformer::Morph(std::size_t first, std::size_t count, Vertices& vertices) const {
  const bool hasNormals = !m_from.normals.empty();
  bool changesNormals = false;
  for (const std::size_t t : m_targets) {
    const MorphTarget& target = m_from.targets[t];
    const float weight = m_pose.weights[t];
    AddDifference(target.positions.data() + first, weight, count, vertices.positions);
    if (!hasNormals || target.normals.empty()) continue;
    AddDifference(target.normals.data() + first, weight, count, vertices.normals);
    changesNormals = true;
  }
  for (std::size_t i = 0; changesNormals && i < count; ++i) {
    vertices.normals[i] = UnitOr(vertices.normals[i], m_from.normals[first + i]);
  }
}

Rows MeshDeformer::BlendedRows(std::size_t vertex) const {
  const auto influences = static_cast<std::size_t>(m_from.influences);
  const std::uint16_t* joints = m_from.vertexJoints.data() + vertex * influences;
  const float* weights = m_from.vertexWeights.data() + vertex * influences;
  const Rows& main = m_joints[joints[0]];
  Rows rows = {main.x * weights[0], main.y * weights[0], main.z * weights[0],
               main.origin * weights[0]};
  for (std::size_t k = 1; k < influences; ++k) {
    const Rows& joint = m_joints[joints[k]];
    rows.x += joint.x * weights[k];
    rows.y += joint.y * weights[k];
    rows.z += joint.z * weights[k];
    rows.origin += joint.origin * weights[k];
  }
  return rows;
}

void MeshDeformer::Skin(std::size_t first, std::size_t count, Vertices& vertices) const {
  const bool hasNormals = !m_from.normals.empty();
  for (std::size_t i = 0; i < count; ++i) {
    const Rows rows = BlendedRows(first + i);
    V3f& position = vertices.positions[i];
    position =
        ToVector(rows.x * position.x + rows.y * position.y + rows.z * position.z + rows.origin);
    if (hasNormals) vertices.normals[i] = PlacedNormal(rows, vertices.normals[i]);
  }
}

void MeshDeformer::DeformPiece(std::size_t piece) const {
  const std::size_t first = piece * kPiece;
  const std::size_t count = std::min(kPiece, m_from.positions.size() - first);
  const bool hasNormals = !m_from.normals.empty();
  Vertices vertices;
  std::copy_n(m_from.positions.data() + first, count, vertices.positions);
  if (hasNormals) std::copy_n(m_from.normals.data() + first, count, vertices.normals);
  if (!m_targets.empty()) Morph(first, count, vertices);
  if (!m_joints.empty()) Skin(first, count, vertices);
  const bool areAllGood = AreFinite(vertices.positions, count);
  for (std::size_t i = 0; i < count; ++i) {
    if (!areAllGood && !IsFinite(vertices.positions[i])) continue;
    m_mesh.positions[first + i] = vertices.positions[i];
    if (hasNormals) m_mesh.normals[first + i] = vertices.normals[i];
  }
}

/// Whether the pose can be taken: a mesh whose joints or weights are beyond the numbers stays.
bool IsUsablePose(const DeformationPose& pose) {
  return std::all_of(pose.weights.begin(), pose.weights.end(),
                     [](float weight) { return std::isfinite(weight); }) &&
         std::all_of(pose.jointsToPosed.begin(), pose.jointsToPosed.end(),
                     [](const M44f& matrix) { return IsFinite(matrix); });
}

}  // namespace

void DeformMeshes(const std::vector<DeformedMesh>& meshes) {
  struct Piece {
    const MeshDeformer* deformer;
    std::size_t number;
  };
  std::vector<MeshDeformer> deformers;
  deformers.reserve(meshes.size());
  for (const DeformedMesh& mesh : meshes) {
    if (IsUsablePose(*mesh.pose)) deformers.emplace_back(mesh);
  }
  std::vector<Piece> pieces;
  std::size_t vertices = 0;
  for (const MeshDeformer& deformer : deformers) {
    for (std::size_t i = 0; i < deformer.PieceCount(); ++i) pieces.push_back({&deformer, i});
    vertices += deformer.VertexCount();
  }
  ShareWork(pieces.size(), std::max<std::size_t>(vertices / kVerticesAThread, 1),
            [&](std::size_t i) { pieces[i].deformer->DeformPiece(pieces[i].number); });
}

std::vector<const SceneDeformation*> DeformationsByMesh(const Scene& scene) {
  std::vector<const SceneDeformation*> deformations(scene.meshes.size());
  for (const SceneDeformation& deformation : scene.motion.deformations) {
    deformations[static_cast<std::size_t>(deformation.mesh)] = &deformation;
  }
  return deformations;
}

}  // namespace hostkit
