// Feeds a scene to a display list: the frame's course, and the lit triangles.
#include "hostkit/feed/scene_feed.h"

#include "hostkit/feed/draw_state.h"
#include "hostkit/feed/vector_parts.h"

namespace hostkit {
namespace {

// Opaque triangles are drawn in pieces of this many. A piece, of a megabyte, stays in the
// processor's cache while it is gathered and drawn, and of large models a software renderer's
// workers rasterise the first while the next are gathered: a frame of a million costs 1.10 times
// bare OpenGL so, and 1.17 in one piece (bench/opaque.cpp).
constexpr std::size_t kTrianglesAPiece = 10000;

using Imath::V3f;

}  // namespace

void SceneFeed::Prepare(DisplayList* list, const FeedView& view) {
  m_list = list;
  m_view = view;
  m_texture = nullptr;
  m_isWanted = true;
  BeginUnlit(list);
  list->PrepForPolygonArray();
  list->SetTexture(nullptr);
}

/// Between pieces of the work. Once the frame is not wanted, nothing more is placed.
bool SceneFeed::IsWanted() {
  m_isWanted = m_isWanted && GoesOn(m_pause);
  return m_isWanted;
}

void SceneFeed::Draw(DisplayList* list, const FeedView& view) {
  Prepare(list, view);
  if (HasPictures()) {
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

void SceneFeed::FeedLit() {
  m_list->SetupLights(m_view.lights);
  for (const SceneInstance& instance : m_scene.instances) {
    const PreparedMesh& prepared = m_prepared.Mesh(instance.mesh);
    const SceneMesh& mesh = m_scene.meshes[static_cast<std::size_t>(instance.mesh)];
    if (prepared.perVertexColors || mesh.triangles.empty()) continue;
    if (!PlaceWithPictures(instance, prepared.Uvs())) continue;
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
  std::size_t count = 0;
  for (std::size_t i = 0; i < m_placed.triangles->size(); i += 3) {
    Corners corners = CornersOf(i);
    const GAVertex& a = vertices[corners.index[0]];
    const GAVertex& b = vertices[corners.index[1]];
    const GAVertex& c = vertices[corners.index[2]];
    const bool facesAway = (mayTurn || m_placed.hidesBacks) && FacesAway(a, b, c);
    if (facesAway && m_placed.hidesBacks) continue;
    const bool turned = mayTurn && facesAway;
    const bool swapped = turned == transparent;
    record[0] = a;
    record[1] = swapped ? c : b;
    record[3] = swapped ? b : c;
    if (turned != transparent) {
      for (int k : {0, 1, 3}) SetNormal(record[k], -NormalOf(record[k]));
    }
    m_list->AddTransformedTri(record, DisplayList::kCheckTransparency);
    if (++count % kTrianglesAPiece != 0) continue;
    m_list->FlushArrays();
    if (!IsWanted()) return;
  }
}

}  // namespace hostkit
