// A model with what the renderer made of it.
#include "apps/gl3-view/scene_view.h"

#include <utility>

#include "apps/work/render/frame_setup.h"
#include "apps/work/render/render_camera.h"
#include "hostkit/scene/camera.h"

namespace view {

SceneView::SceneView(GADriver* driver, std::shared_ptr<const hostkit::Scene> scene,
                     std::shared_ptr<const hostkit::Scene> whole)
    : m_driver(driver),
      m_scene(std::move(scene)),
      m_whole(std::move(whole)),
      m_bounds(m_whole->Bounds()) {}

std::unique_ptr<SceneView> SceneView::Create(GADriver* driver,
                                             std::shared_ptr<const hostkit::Scene> scene,
                                             std::shared_ptr<const hostkit::Scene> whole,
                                             std::string* error) {
  std::unique_ptr<SceneView> view(new SceneView(driver, std::move(scene), std::move(whole)));
  view->m_painter = hostkit::FramePainter::Create(driver, *view->m_scene, error);
  return view->m_painter ? std::move(view) : nullptr;
}

hostkit::View SceneView::ViewFor(const gl3::RenderOptions& options) const {
  const gl3::CameraChooser chooser(options, *m_whole, {{}, m_bounds});
  return hostkit::ViewFor(chooser.Choose(*m_whole, -1, 1), m_bounds);
}

hostkit::FrameSettings SceneView::WithScaleBar(const gl3::RenderOptions& options,
                                               const hostkit::FrameSettings& settings) const {
  const gl3::CameraChooser chooser(options, *m_whole, {{}, m_bounds});
  const hostkit::SceneCamera camera = chooser.Choose(*m_whole, -1, 1);
  return gl3::WithScaleBar(settings, options.drawing, camera, chooser.TargetDistance(camera));
}

bool SceneView::Paint(WindowSurface& surface, const hostkit::FrameSettings& settings,
                      const hostkit::View& view) {
  m_painter->Begin(settings, view);
  m_painter->Paint(surface.Target(), {0, 0, surface.Width(), surface.Height()},
                   settings.background);
  return m_painter->PaintOverlays(surface.Target());
}

hostkit::Picture SceneView::Render(const gl3::RenderOptions& options,
                                   const hostkit::FrameSettings& settings,
                                   gl3::EffectStage& effects, std::string* error,
                                   const hostkit::Pause& pause) {
  if (!m_renderer) m_renderer = hostkit::FrameRenderer::Create(m_driver, *m_scene, error);
  hostkit::Picture picture;
  if (!m_renderer) return picture;
  m_renderer->SetPause(pause);
  picture = m_renderer->Render(WithScaleBar(options, settings), ViewFor(options), error);
  if (!picture.bitmap) return picture;
  if (!effects.Apply(m_driver, options.effects.calls, &picture, error, pause))
    picture.bitmap.reset();
  return picture;
}

}  // namespace view
