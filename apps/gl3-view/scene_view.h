// A model with what the renderer made of it: frames in the window, and pictures off screen.
#pragma once

#include <Imath/ImathBox.h>
#include <Imath/ImathVec.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "apps/gl3-view/window_surface.h"
#include "apps/options/render_options.h"
#include "apps/work/render/effect_stage.h"
#include "hostkit/frame/frame_painter.h"
#include "hostkit/frame/frame_renderer.h"
#include "hostkit/pictures/picture.h"
#include "hostkit/scene/scene.h"

namespace view {

/// A scene that was uploaded to a driver, which must outlive it.
class SceneView {
 public:
  /// `whole` has what is seen from where, and its bounds: the scene itself, or that of which it is
  /// a part. On failure returns null and one line in `*error`.
  static std::unique_ptr<SceneView> Create(GADriver* driver,
                                           std::shared_ptr<const hostkit::Scene> scene,
                                           std::shared_ptr<const hostkit::Scene> whole,
                                           std::string* error);

  const hostkit::Scene& Model() const { return *m_scene; }
  const std::shared_ptr<const hostkit::Scene>& Shared() const { return m_scene; }
  const Imath::Box3f& Bounds() const { return m_bounds; }
  /// The scene was posed anew.
  void TakePose() { m_bounds = m_whole->Bounds(); }
  /// The view that `options` (with --eye and the rest) ask for, as `gl3 render` takes it.
  hostkit::View ViewFor(const gl3::RenderOptions& options) const;
  /// `settings` with the scale bar of that view, if `options` ask for one.
  hostkit::FrameSettings WithScaleBar(const gl3::RenderOptions& options,
                                      const hostkit::FrameSettings& settings) const;
  /// What Paint puts behind the scene: see FramePainter.
  void SetBehind(std::shared_ptr<HBitmapNode> picture) { m_painter->SetBehind(std::move(picture)); }

  /// Draws a frame into the surface, with one sample a pixel; does not show it. The size in
  /// `settings` is the surface's. False when memory ran out for an overlay, which is then missing.
  bool Paint(WindowSurface& surface, const hostkit::FrameSettings& settings,
             const hostkit::View& view);
  /// Draws a frame off screen and puts it through the effects, exactly as `gl3 render` does. A
  /// picture without bitmap and one line in `*error` on failure; with an empty one when `pause`
  /// said that nobody wants it.
  hostkit::Picture Render(const gl3::RenderOptions& options, const hostkit::FrameSettings& settings,
                          gl3::EffectStage& effects, std::string* error,
                          const hostkit::Pause& pause = {});
  /// What Render drew with; empty before.
  std::string RendererName() const { return m_renderer ? m_renderer->RendererName() : ""; }

 private:
  SceneView(GADriver* driver, std::shared_ptr<const hostkit::Scene> scene,
            std::shared_ptr<const hostkit::Scene> whole);

  GADriver* m_driver;
  std::shared_ptr<const hostkit::Scene> m_scene, m_whole;
  Imath::Box3f m_bounds;
  std::unique_ptr<hostkit::FramePainter> m_painter;
  std::unique_ptr<hostkit::FrameRenderer> m_renderer;  // made when it is first needed
};

}  // namespace view
