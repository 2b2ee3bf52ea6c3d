// Feeds a scene to a display list: placing meshes in view space, and the lit triangles.
#include "hostkit/feed/scene_feed.h"

#include <algorithm>

#include "hostkit/feed/draw_state.h"

namespace hostkit {
namespace {

// Opaque triangles are drawn in pieces of this many. A piece, of a megabyte, stays in the
// processor's cache while it is gathered and drawn, and of large models a software renderer's
// workers rasterise the first while the next are gathered: a frame of a million costs 1.10 times
// bare OpenGL so, and 1.17 in one piece (bench/opaque.cpp).
constexpr std::size_t kTrianglesAPiece = 10000;

using Imath::M44f;
using Imath::V2f;
using Imath::V3f;

V3f Position(const GAVertex& v) {
  return {v.x, v.y, v.z};
}

V3f Normal(const GAVertex& v) {
  return {v.nx, v.ny, v.nz};
}

void SetNormal(GAVertex& vertex, const V3f& normal) {
  vertex.nx = normal.x;
  vertex.ny = normal.y;
  vertex.nz = normal.z;
}

// The upper 3 x 3 of a matrix for row vectors, as rows.
struct Rows {
  V3f x, y, z;
  explicit Rows(const M44f& m)
      : x(m[0][0], m[0][1], m[0][2]), y(m[1][0], m[1][1], m[1][2]), z(m[2][0], m[2][1], m[2][2]) {}
  float Determinant() const { return x.dot(y.cross(z)); }
};

}  // namespace

void SceneFeed::Prepare(DisplayList* list, const FeedView& view) {
  m_list = list;
  m_view = view;
  m_texture = nullptr;
  BeginUnlit(list);
  list->PrepForPolygonArray();
  list->SetTexture(nullptr);
}

void SceneFeed::Draw(DisplayList* list, const FeedView& view) {
  Prepare(list, view);
  const DrawMode mode = view.settings->mode;
  if (mode == DrawMode::kShaded || mode == DrawMode::kDriverWireframe) {
    FeedLit();
    // The end of the lit run draws what is batched, then turns lighting off. Not so SetDepthFunc,
    // which would also put out the headlight that the transparent queue is drawn with.
    UseTexture(nullptr);
    list->EndInstructions();
    list->BeginInstructions();
  }
  FeedUnlit();
  list->EndInstructions();
  list->ExecuteInstructions();
}

void SceneFeed::UseTexture(GATexture* texture) {
  if (texture == m_texture) return;
  m_list->SetTexture(texture);
  m_texture = texture;
}

bool SceneFeed::Place(const SceneInstance& instance) {
  m_placed.mesh = &m_scene.meshes[static_cast<std::size_t>(instance.mesh)];
  m_placed.prepared = &m_prepared.Mesh(instance.mesh);
  if (m_placed.mesh->positions.empty()) return false;
  M44f toView = instance.toWorld * m_view.worldToView;
  m_placed.mirrored = Rows(toView).Determinant() < 0;
  PlaceVertices(toView);
  if (!m_placed.prepared->hasNormals) MakeNormals();
  return true;
}

void SceneFeed::PlaceVertices(const M44f& toView) {
  const SceneMesh& mesh = *m_placed.mesh;
  const PreparedMesh& prepared = *m_placed.prepared;
  // Normals go with the cofactors, which are the inverse transpose but for a factor, and exist
  // also for a matrix that flattens. The factor is negative for a mirroring.
  Rows rows(toView);
  float sign = m_placed.mirrored ? -1.0f : 1.0f;
  V3f nx = rows.y.cross(rows.z) * sign, ny = rows.z.cross(rows.x) * sign,
      nz = rows.x.cross(rows.y) * sign;
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
    if (prepared.hasUvs) {
      to.u = std::clamp(mesh.uvs[i].x, prepared.uvMin.x, prepared.uvMax.x);
      to.v = std::clamp(mesh.uvs[i].y, prepared.uvMin.y, prepared.uvMax.y);
    }
  }
}

// Smooth normals from the triangles, each weighing as much as its area.
void SceneFeed::MakeNormals() {
  for (GAVertex& vertex : m_vertices) SetNormal(vertex, V3f(0));
  for (std::size_t i = 0; i < m_placed.mesh->triangles.size(); i += 3) {
    Corners corners = CornersOf(i);
    V3f a = Position(m_vertices[corners.index[0]]);
    V3f b = Position(m_vertices[corners.index[1]]);
    V3f c = Position(m_vertices[corners.index[2]]);
    V3f outwards = (b - a).cross(c - a);
    for (std::uint32_t index : corners.index) {
      GAVertex& vertex = m_vertices[index];
      SetNormal(vertex, Normal(vertex) + outwards);
    }
  }
  for (GAVertex& v : m_vertices) SetNormal(v, Normal(v).normalized());
}

SceneFeed::Corners SceneFeed::CornersOf(std::size_t triangle) const {
  const std::uint32_t* from = m_placed.mesh->triangles.data() + triangle;
  if (m_placed.mirrored) return {{from[0], from[2], from[1]}};
  return {{from[0], from[1], from[2]}};
}

bool SceneFeed::FacesAway(const GAVertex& a, const GAVertex& b, const GAVertex& c) const {
  V3f eyeSide = (Position(b) - Position(a)).cross(Position(c) - Position(a));
  return m_view.info->perspective != 0 ? eyeSide.dot(Position(a)) >= 0 : eyeSide.z <= 0;
}

void SceneFeed::FeedLit() {
  m_list->SetupLights(m_view.lights);
  for (const SceneInstance& instance : m_scene.instances) {
    const PreparedMesh& prepared = m_prepared.Mesh(instance.mesh);
    const SceneMesh& mesh = m_scene.meshes[static_cast<std::size_t>(instance.mesh)];
    if (prepared.perVertexColors || mesh.triangles.empty() || !Place(instance)) continue;
    UseTexture(prepared.texture);
    m_list->SetMaterial(prepared.material, 0);
    FeedLitTriangles();
  }
}

// Opaque triangles go in clockwise as the viewer sees them, with normals to the viewer's side:
// clockwise is the renderer's front, and so both sides of a surface are lit without help from
// OpenGL's two-sided lighting. That help fails on llvmpipe of Mesa 22.3 once triangles were drawn
// with smooth lines on, as the transparent queue draws them: from then on all faces are lit as
// fronts (Frames.GlassBlends... shows it in its second frame).
//
// Transparent triangles go in the other way, for the queue leaves clockwise ones out. That is right
// for the far side of a glass ball, but a single pane or leaf would be gone from behind: only open
// surfaces are turned to the viewer.
void SceneFeed::FeedLitTriangles() {
  const bool transparent = m_placed.prepared->transparent;
  const bool mayTurn = !transparent || !m_placed.prepared->closed;
  const GAVertex* vertices = m_vertices.data();
  GAVertex record[4];  // the renderer reads the first, second and fourth
  for (std::size_t i = 0; i < m_placed.mesh->triangles.size(); i += 3) {
    Corners corners = CornersOf(i);
    const GAVertex& a = vertices[corners.index[0]];
    const GAVertex& b = vertices[corners.index[1]];
    const GAVertex& c = vertices[corners.index[2]];
    const bool turned = mayTurn && FacesAway(a, b, c);
    const bool swapped = turned == transparent;
    record[0] = a;
    record[1] = swapped ? c : b;
    record[3] = swapped ? b : c;
    if (turned != transparent) {
      for (int k : {0, 1, 3}) SetNormal(record[k], -Normal(record[k]));
    }
    m_list->AddTransformedTri(record, DisplayList::kCheckTransparency);
    if ((i / 3 + 1) % kTrianglesAPiece == 0) m_list->FlushArrays();
  }
}

}  // namespace hostkit
