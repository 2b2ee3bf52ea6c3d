// Feeds a scene to a display list: the frame's course, and the lit triangles.
#include "hostkit/feed/scene_feed.h"

#include <algorithm>
#include <iterator>

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

// The corners of two triangles that have an edge in common. Its ends are `begin` and `end` of the
// one, `at` and `next` of the other.
struct Join {
  int begin, middle, end;
  int at, next, last;
};
constexpr Join kJoins[] = {{0, 1, 2, 0, 1, 2}, {0, 1, 2, 1, 2, 0}, {0, 1, 2, 2, 0, 1},
                           {1, 2, 0, 0, 1, 2}, {1, 2, 0, 1, 2, 0}, {1, 2, 0, 2, 0, 1},
                           {2, 0, 1, 0, 1, 2}, {2, 0, 1, 1, 2, 0}, {2, 0, 1, 2, 0, 1}};

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
  if (!m_isWanted) return false;
  m_isWanted = GoesOn(m_pause);
  // What it gave way to may have used another buffer, where the ends of blocks would go now.
  if (!m_isWanted) m_view.info->buffer->IsFogEnabled();
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

/// False where it is not seen.
inline bool SceneFeed::MakeLit(std::size_t triangle, LitTriangle* lit) const {
  const bool transparent = m_placed.prepared->transparent;
  const bool mayTurn = !transparent || !m_placed.prepared->closed;
  const Corners corners = CornersOf(triangle);
  const std::uint32_t a = corners.index[0], b = corners.index[1], c = corners.index[2];
  const bool facesAway =
      (mayTurn || m_placed.hidesBacks) && FacesAway(m_vertices[a], m_vertices[b], m_vertices[c]);
  if (facesAway && m_placed.hidesBacks) return false;
  const bool turned = mayTurn && facesAway;
  const bool swapped = turned == transparent;
  lit->corners[0] = a;
  lit->corners[1] = swapped ? c : b;
  lit->corners[2] = swapped ? b : c;
  lit->seenFromInside = turned != transparent;
  return true;
}

inline void SceneFeed::CopyLit(std::uint32_t vertex, bool seenFromInside, GAVertex* to) const {
  *to = m_vertices[vertex];
  if (seenFromInside) SetNormal(*to, -NormalOf(*to));
}

inline void SceneFeed::AddLit(const LitTriangle& triangle) {
  GAVertex record[4];  // the renderer reads the first, second and fourth
  CopyLit(triangle.corners[0], triangle.seenFromInside, &record[0]);
  CopyLit(triangle.corners[1], triangle.seenFromInside, &record[1]);
  CopyLit(triangle.corners[2], triangle.seenFromInside, &record[3]);
  m_list->AddTransformedTri(record, DisplayList::kCheckTransparency);
}

/// Two triangles with an edge in common as a quad, which takes four vertices in place of six: the
/// renderer draws elements 0, 1, 3 and 0, 3, 2 of it. False when they have none.
inline bool SceneFeed::AddPair(const LitTriangle& one, const LitTriangle& other) {
  if (one.seenFromInside != other.seenFromInside) return false;
  const auto joins = [&](const Join& join) {
    return other.corners[join.at] == one.corners[join.begin] &&
           other.corners[join.next] == one.corners[join.end];
  };
  // Most often it is the edge that it was before.
  if (!joins(kJoins[m_join])) {
    const Join* const found = std::find_if(std::begin(kJoins), std::end(kJoins), joins);
    if (found == std::end(kJoins)) return false;
    m_join = static_cast<std::size_t>(found - kJoins);
  }
  const Join& join = kJoins[m_join];
  GAVertex record[4];
  CopyLit(one.corners[join.begin], one.seenFromInside, &record[0]);
  CopyLit(one.corners[join.middle], one.seenFromInside, &record[1]);
  CopyLit(other.corners[join.last], one.seenFromInside, &record[2]);
  CopyLit(one.corners[join.end], one.seenFromInside, &record[3]);
  m_list->AddTransformedQuad(record, DisplayList::kQuadBatched, 1);
  return true;
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
  // The glow, which goes in triangle by triangle, has to meet the same depths.
  const bool mayPair = !m_placed.prepared->transparent && !m_placed.prepared->glow.material;
  LitTriangle waiting, next;  // the first for the other, which may be its neighbour
  bool isWaiting = false;
  const std::size_t count = m_placed.triangles->size() / 3;
  for (std::size_t i = 0; i < count; ++i) {
    if (i > 0 && i % kTrianglesAPiece == 0) {
      m_list->FlushArrays();
      if (!IsWanted()) return;
    }
    if (!MakeLit(3 * i, &next)) continue;
    if (isWaiting && AddPair(waiting, next)) {
      isWaiting = false;
      continue;
    }
    if (isWaiting) AddLit(waiting);
    waiting = next;
    isWaiting = mayPair;
    if (!isWaiting) AddLit(next);
  }
  if (isWaiting) AddLit(waiting);
}

}  // namespace hostkit
