// Feeds a scene to a display list: every thing in a colour of its own, by which pixels tell what
// they show.
#include "hostkit/feed/scene_feed.h"
#include "hostkit/feed/vector_parts.h"

namespace hostkit {
namespace {

using Imath::V3f;

// The renderer draws its lines and points smooth when that is set, which would mix ids; so they
// are drawn as strips and squares of this width.
constexpr float kHalfSample = 0.5f;

}  // namespace

bool SceneFeed::DrawIds(DisplayList* list, const FeedView& view, SeenSurfaces* seen) {
  Prepare(list, view);
  seen->Clear(view.settings->normals);
  for (std::size_t i = 0; i < m_scene.instances.size(); ++i) {
    if (!Place(m_scene.instances[i])) continue;
    seen->BeginInstance(static_cast<int>(i), m_placed.mesh->material);
    FeedTriangleIds(seen);
    FeedLineIds(seen);
    FeedPointIds(seen);
  }
  FlushColored();
  list->EndInstructions();
  list->ExecuteInstructions();
  return !seen->IsFull();
}

void SceneFeed::AddId(const V3f& a, const V3f& b, const V3f& c, std::uint32_t id) {
  for (const V3f* p : {&a, &b, &c}) {
    m_colored.push_back({p->x, p->y, p->z, static_cast<std::uint8_t>(id >> 16),
                         static_cast<std::uint8_t>(id >> 8), static_cast<std::uint8_t>(id), 255});
  }
  if (m_colored.size() >= kColoredTriangles * 3) FlushColored();
}

void SceneFeed::FeedTriangleIds(SeenSurfaces* seen) {
  const std::vector<std::uint32_t>& triangles = m_placed.mesh->triangles;
  if (m_placed.hidesBacks) FindFacesAway();
  for (std::size_t i = 0; i < triangles.size() && !seen->IsFull(); i += 3) {
    if (m_placed.hidesBacks && m_facesAway[i / 3]) continue;
    const GAVertex* const corners[] = {&m_vertices[triangles[i]], &m_vertices[triangles[i + 1]],
                                       &m_vertices[triangles[i + 2]]};
    const V3f places[] = {PlacedAt(triangles[i]), PlacedAt(triangles[i + 1]),
                          PlacedAt(triangles[i + 2])};
    const V3f normals[] = {NormalOf(*corners[0]), NormalOf(*corners[1]), NormalOf(*corners[2])};
    AddId(places[0], places[1], places[2], seen->AddTriangle(places, normals));
  }
}

void SceneFeed::FeedLineIds(SeenSurfaces* seen) {
  const std::vector<std::uint32_t>& lines = m_placed.mesh->lines;
  const RenderInfo& info = *m_view.info;
  for (std::size_t i = 0; i + 1 < lines.size() && !seen->IsFull(); i += 2) {
    const V3f ends[] = {PlacedAt(lines[i]), PlacedAt(lines[i + 1])};
    const float sizes[] = {SampleSizeAt(ends[0].z, info), SampleSizeAt(ends[1].z, info)};
    if (sizes[0] <= 0 || sizes[1] <= 0) continue;  // an end is behind the eye
    const V3f run = ends[1] / sizes[1] - ends[0] / sizes[0];
    const V3f across = V3f(-run.y, run.x, 0).normalized() * kHalfSample;
    const V3f c[] = {ends[0] - across * sizes[0], ends[0] + across * sizes[0],
                     ends[1] + across * sizes[1], ends[1] - across * sizes[1]};
    const std::uint32_t id = seen->AddLine(ends[0], ends[1]);
    AddId(c[0], c[1], c[2], id);
    AddId(c[0], c[2], c[3], id);
  }
}

void SceneFeed::FeedPointIds(SeenSurfaces* seen) {
  const float half = kHalfSample * m_view.pointSize;
  for (std::uint32_t vertex : m_placed.mesh->points) {
    if (seen->IsFull()) return;
    const V3f p = PlacedAt(vertex);
    const float h = half * SampleSizeAt(p.z, *m_view.info);
    const V3f c[] = {p + V3f(-h, -h, 0), p + V3f(h, -h, 0), p + V3f(h, h, 0), p + V3f(-h, h, 0)};
    const std::uint32_t id = seen->AddPoint(p);
    AddId(c[0], c[1], c[2], id);
    AddId(c[0], c[2], c[3], id);
  }
}

}  // namespace hostkit
