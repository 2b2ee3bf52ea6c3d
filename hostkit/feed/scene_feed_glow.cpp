// Feeds a scene to a display list: light of surfaces' own that is added to what is drawn of them.
#include "host/GABuffer.h"
#include "hostkit/feed/scene_feed.h"
#include "hostkit/feed/vector_parts.h"

namespace hostkit {

/// Draws meshes a second time in their Glow, adding to what is there. Their depths are those that
/// are there already, and the depth test lets equal ones pass; what lies before them stays. Of
/// transparent meshes, which are those that are cut out by alpha, all that waits in the renderer's
/// queue is drawn before.
///
/// Fog has dimmed what is drawn towards its colour. What is added is dimmed towards black.
void SceneFeed::FeedGlow(bool transparent) {
  GABuffer& buffer = *m_view.info->buffer;
  if (transparent) {
    m_list->FlushTransparentPolys();
    m_list->SetDepthFunc(DisplayList::kLightingOff);
  }
  m_list->SetDepthFunc(DisplayList::kAdditiveBlending);
  if (m_view.settings->fog.on) buffer.SetFogColor({});
  m_list->SetupLights(m_view.lights);
  for (const SceneInstance& instance : m_scene.instances) {
    const PreparedMesh& prepared = m_prepared.Mesh(instance.mesh);
    const Glow& glow = prepared.glow;
    if (!glow.material || prepared.transparent != transparent) continue;
    if (!PlaceWithPictures(instance, glow.texture ? &glow.uvs : nullptr)) continue;
    UseTexture(glow.texture);
    m_list->SetMaterial(glow.material, 0);
    FeedGlowTriangles();
  }
  UseTexture(nullptr);
  m_list->EndInstructions();
  m_list->BeginInstructions();
  m_list->SetDepthFunc(DisplayList::kNormalBlending);
  if (m_view.settings->fog.on) buffer.SetFogState(1);
}

// The corners go in as they did the first time: in another order, depths may differ by a rounding.
// Normals point to the side on which they run clockwise, as all others.
void SceneFeed::FeedGlowTriangles() {
  const PreparedMesh& prepared = *m_placed.prepared;
  const bool mayTurn = !prepared.transparent || !prepared.closed;
  GAVertex record[4];  // the renderer reads the first, second and fourth
  for (std::size_t i = 0; i < m_placed.triangles->size(); i += 3) {
    const Corners corners = CornersOf(i);
    const GAVertex& a = m_vertices[corners.index[0]];
    const GAVertex& b = m_vertices[corners.index[1]];
    const GAVertex& c = m_vertices[corners.index[2]];
    const bool facesAway = FacesAway(a, b, c);
    if (facesAway && (m_placed.hidesBacks || !mayTurn)) continue;
    if (const AlphaBand* const band = prepared.BandOf(i / 3)) UseTexture(band->glow);
    const bool swapped = !prepared.perVertexColors && facesAway == prepared.transparent;
    record[0] = a;
    record[1] = swapped ? c : b;
    record[3] = swapped ? b : c;
    if (!swapped) {
      for (const int k : {0, 1, 3}) SetNormal(record[k], -NormalOf(record[k]));
    }
    m_list->AddTransformedTri(record, DisplayList::kDrawAsOpaque);
  }
}

}  // namespace hostkit
