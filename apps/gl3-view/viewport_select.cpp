// Selecting vertices in the viewport.
#include <algorithm>
#include <string>

#include "apps/gl3-view/viewport.h"

namespace view {
namespace {

// How far from the mouse a vertex may be to be selected, in pixels.
constexpr float kPickRadius = 8;

}  // namespace

/// Whether nothing hides the vertex. The frame that the depth buffer has must be that of `view`.
bool Viewport::IsSeen(const PickedVertex& vertex, const hostkit::View& view) {
  // The farthest of the pixels around counts: a vertex lies where surfaces end.
  float farthest = 0;
  for (int dy = -1; dy <= 1; ++dy) {
    for (int dx = -1; dx <= 1; ++dx) {
      const int x = std::clamp(static_cast<int>(vertex.x) + dx, 0, m_surface->Width() - 1);
      const int y = std::clamp(static_cast<int>(vertex.y) + dy, 0, m_surface->Height() - 1);
      const float depth = m_surface->Buffer()->GetZValue(x, m_surface->Height() - 1 - y);
      farthest = std::max(farthest, DistanceOfDepth(view, depth));
    }
  }
  constexpr float kSlack = 1.002f;
  return vertex.depth <= farthest * kSlack;
}

void Viewport::Select(int x, int y, bool add) {
  std::string error;
  if (!m_scene || !EnsureSurface(&error)) return;
  StopRefining();
  const hostkit::View view = CurrentView();
  std::vector<PickedVertex> candidates =
      VerticesNear(*m_model, view, m_surface->Width(), m_surface->Height(),
                   static_cast<float>(x) + 0.5f, static_cast<float>(y) + 0.5f, kPickRadius);
  std::erase_if(candidates,
                [this](const PickedVertex& vertex) { return m_subject.IsBeyond(vertex.place); });
  // What hides what is asked of a frame of the surfaces alone, which nobody gets to see.
  hostkit::FrameSettings settings;
  settings.width = m_surface->Width();
  settings.height = m_surface->Height();
  settings.mode = m_settings.mode;
  settings.showsAllBacks = m_settings.showsAllBacks;
  if (!candidates.empty()) m_scene->Paint(*m_surface, settings, view);
  const auto seen = std::find_if(candidates.begin(), candidates.end(),
                                 [&](const PickedVertex& vertex) { return IsSeen(vertex, view); });
  if (!add) m_selection.clear();
  if (seen != candidates.end()) {
    const auto isSeen = [&](const PickedVertex& vertex) { return vertex.place == seen->place; };
    if (std::erase_if(m_selection, isSeen) == 0) m_selection.push_back(*seen);
  }
  if (m_listener.selected) m_listener.selected(m_selection);
  update();
}

}  // namespace view
