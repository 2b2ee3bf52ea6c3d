// Feeds a scene to a display list: placing meshes in view space.
#include <algorithm>
#include <cmath>

#include "hostkit/feed/scene_feed.h"

#include "hostkit/feed/vector_parts.h"

namespace hostkit {
namespace {

using Imath::M44f;
using Imath::V2f;
using Imath::V3f;

void SetUv(GAVertex& vertex, const V2f& uv) {
  vertex.u = uv.x;
  vertex.v = uv.y;
}

// The upper 3 x 3 of a matrix for row vectors, as rows.
struct Rows {
  V3f x, y, z;
  explicit Rows(const M44f& m)
      : x(m[0][0], m[0][1], m[0][2]), y(m[1][0], m[1][1], m[1][2]), z(m[2][0], m[2][1], m[2][2]) {}
  // The same at a size of about 1: products of the rows stay floats, whatever the scale. By a power
  // of two, so that directions keep their digits.
  Rows AtUnitSize() const {
    float largest = 0;
    for (const V3f* row : {&x, &y, &z}) {
      for (int i = 0; i < 3; ++i) largest = std::max(largest, std::abs((*row)[i]));
    }
    Rows rows = *this;
    if (!(largest > 0) || !std::isfinite(largest)) return rows;
    const float unit = std::exp2(-std::round(std::log2(largest)));
    for (V3f* row : {&rows.x, &rows.y, &rows.z}) *row *= unit;
    return rows;
  }
  float Determinant() const { return x.dot(y.cross(z)); }
};

}  // namespace

bool SceneFeed::Place(const SceneInstance& instance, const UvMap* uvs) {
  if (!IsWanted()) return false;
  m_placed.mesh = &m_scene.meshes[static_cast<std::size_t>(instance.mesh)];
  m_placed.prepared = &m_prepared.Mesh(instance.mesh);
  m_placed.triangles = &m_placed.mesh->triangles;
  m_placed.hidesBacks = !m_placed.prepared->showsBacks && !m_view.settings->showsAllBacks;
  if (m_placed.mesh->positions.empty() || m_placed.prepared->isInvisible) return false;
  M44f toView = instance.toWorld * m_view.worldToView;
  m_placed.mirrored = (Rows(toView).AtUnitSize().Determinant() < 0) != m_placed.mesh->isMirrored;
  PlaceVertices(toView, uvs);
  if (!m_placed.prepared->hasNormals) MakeNormals();
  return true;
}

void SceneFeed::PlaceVertices(const M44f& toView, const UvMap* uvs) {
  const SceneMesh& mesh = *m_placed.mesh;
  const PreparedMesh& prepared = *m_placed.prepared;
  // Normals go with the cofactors, which are the inverse transpose but for a factor, and exist
  // also for a matrix that flattens. The factor is negative for a mirroring.
  Rows rows(toView);
  float sign = m_placed.mirrored ? -1.0f : 1.0f;
  const Rows turns = rows.AtUnitSize();
  V3f nx = turns.y.cross(turns.z) * sign, ny = turns.z.cross(turns.x) * sign,
      nz = turns.x.cross(turns.y) * sign;
  V3f origin(toView[3][0], toView[3][1], toView[3][2]);

  m_vertices.resize(mesh.positions.size());
  for (std::size_t i = 0; i < m_vertices.size(); ++i) {
    GAVertex& to = m_vertices[i];
    const V3f& p = mesh.positions[i];
    V3f placed = rows.x * p.x + rows.y * p.y + rows.z * p.z + origin;
    to.x = placed.x;
    to.y = placed.y;
    to.z = placed.z;
    if (prepared.hasNormals) {
      const V3f& n = mesh.normals[i];
      SetNormal(to, (nx * n.x + ny * n.y + nz * n.z).normalized());
    }
    if (uvs) SetUv(to, (*uvs)(mesh.uvs[i]));
  }
}

/// Places the vertices of the cuts between those that they lie between, wherever these are now.
void SceneFeed::PlaceCuts(const UvMap* uvs) {
  const MeshCuts& cuts = *m_placed.prepared->cuts;
  m_placed.triangles = &cuts.triangles;
  m_vertices.reserve(m_vertices.size() + cuts.made.size());
  for (const CutVertex& made : cuts.made) {
    const GAVertex &a = m_vertices[made.a], &b = m_vertices[made.b];
    const V3f place = PositionOf(a) + (PositionOf(b) - PositionOf(a)) * made.share;
    GAVertex vertex;
    vertex.x = place.x;
    vertex.y = place.y;
    vertex.z = place.z;
    SetNormal(vertex, (NormalOf(a) + (NormalOf(b) - NormalOf(a)) * made.share).normalized());
    if (uvs) SetUv(vertex, (*uvs)(made.uv));
    m_vertices.push_back(vertex);
  }
}

/// Place for what is shown with pictures: cut where they need it.
bool SceneFeed::PlaceWithPictures(const SceneInstance& instance, const UvMap* uvs) {
  if (!Place(instance, uvs)) return false;
  if (m_placed.prepared->cuts) PlaceCuts(uvs);
  return true;
}

// Smooth normals from the triangles, each weighing as much as its area.
void SceneFeed::MakeNormals() {
  for (GAVertex& vertex : m_vertices) SetNormal(vertex, V3f(0));
  for (std::size_t i = 0; i < m_placed.mesh->triangles.size(); i += 3) {
    Corners corners = CornersOf(i);
    V3f a = PositionOf(m_vertices[corners.index[0]]);
    V3f b = PositionOf(m_vertices[corners.index[1]]);
    V3f c = PositionOf(m_vertices[corners.index[2]]);
    V3f outwards = (b - a).cross(c - a);
    for (std::uint32_t index : corners.index) {
      GAVertex& vertex = m_vertices[index];
      SetNormal(vertex, NormalOf(vertex) + outwards);
    }
  }
  for (GAVertex& v : m_vertices) SetNormal(v, NormalOf(v).normalized());
}

}  // namespace hostkit
