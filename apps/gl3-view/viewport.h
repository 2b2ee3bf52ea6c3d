// The part of the window that the renderer draws into.
#pragma once

#include <QElapsedTimer>
#include <QPoint>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "apps/gl3-view/moving_detail.h"
#include "apps/gl3-view/orbit_camera.h"
#include "apps/gl3-view/picture_show.h"
#include "apps/gl3-view/scene_view.h"
#include "apps/gl3-view/shown_subject.h"
#include "apps/gl3-view/shown_time.h"
#include "apps/gl3-view/sliced_work.h"
#include "apps/gl3-view/vertex_picker.h"
#include "apps/gl3-view/visible_parts.h"
#include "apps/gl3-view/window_surface.h"
#include "apps/options/render_options.h"
#include "apps/work/render/effect_stage.h"
#include "hostkit/scene/node_animation.h"

class GADriver;

namespace view {

/// What a frame cost and shows.
struct FrameFigures {
  double milliseconds = 0;  ///< Without showing it.
  int width = 0, height = 0;
  bool refined = false;  ///< Anti-aliased and with effects, as it would be saved.
  bool reduced = false;  ///< With less detail than the model has.
};

/// Draws when something changed, and never otherwise. While things move, a frame has one sample a
/// pixel and no effects, and of a large model fewer triangles; at rest it becomes what a saved
/// picture would be, which is made bit by bit between other events. Mouse: the left button
/// orbits, the middle one (or shift with the left) pans, wheel and right button zoom, a click
/// selects the nearest vertex, with ctrl one more or, where it is selected, one less.
class Viewport : public QWidget {
 public:
  /// Called on the thread of the user interface.
  struct Listener {
    std::function<void(const FrameFigures&)> drawn;
    std::function<void(const std::string&)> trouble;
    std::function<void(const std::vector<PickedVertex>&)> selected;
  };

  explicit Viewport(QWidget* parent);
  ~Viewport() override;

  /// What to draw with. The model is uploaded to it; false with one line in `*error` when that
  /// fails, and then there is no model any more. Null lets go of all that the driver made.
  bool SetDriver(GADriver* driver, std::string* error);
  void SetListener(Listener listener) { m_listener = std::move(listener); }
  /// Shows another model: all of it and at rest, or with `stays` from where the present one is seen
  /// and at its time. On failure the present one stays, or without memory there is none any more,
  /// with one line in `*error`.
  bool SetScene(std::shared_ptr<hostkit::Scene> scene, bool stays, std::string* error);
  /// The model, as long as it can be drawn: null without a driver that works.
  const hostkit::Scene* Scene() const { return m_scene ? m_model.get() : nullptr; }

  /// How to draw, and what of the model; the camera in it is not used. On failure one line in
  /// `*error`: of a picture that cannot be read, and then nothing changes, or of memory, and then
  /// there is no model any more.
  bool SetOptions(const gl3::RenderOptions& options, std::string* error);
  /// The options with the camera and the size of what is seen.
  gl3::RenderOptions Options() const;
  /// The moment to show. On failure there is no model any more, with one line in `*error`.
  bool SetTime(const ShownTime& time, std::string* error);
  const ShownTime& Time() const { return m_time; }

  /// Leaves parts of the model out, by their numbers in the file's order; what is missing at the
  /// end is shown. On failure one line in `*error`: when nothing would be left, and then nothing
  /// changes, or of memory, and then there is no model any more.
  bool Hide(std::vector<bool> hidden, std::string* error);
  const VisibleParts& Parts() const { return m_parts; }
  /// As VisibleParts has it. Needs a model.
  std::vector<std::string> HiddenNames(bool* isExact) const {
    return m_parts.HiddenNames(*m_model, isExact);
  }
  /// Marks the corners of the box around a part; -1: of none.
  void Mark(int part);

  /// The picture of the model that `options` ask for, as `gl3 render` makes it, and what it was
  /// drawn with. Without a bitmap and with one line in `*error` on failure. Needs a model.
  hostkit::Picture Render(const gl3::RenderOptions& options, std::string* renderer,
                          std::string* error);
  /// The camera of `options`, and the view as it is now. Both need a model.
  hostkit::SceneCamera CameraFor(const gl3::RenderOptions& options) const {
    return m_scene->ViewFor(options).camera;
  }
  hostkit::View CurrentView() const { return m_scene->ViewFor(Options()); }

  /// How far in front of the eye the model begins and ends, in world units; 1 and 10 without one.
  std::pair<float, float> SceneDistances() const;
  const OrbitCamera& Camera() const { return m_camera; }
  void Fit();
  /// As OrbitCamera has it.
  void LookFrom(const Imath::V3f& direction);
  void TakeCamera(const hostkit::SceneCamera& camera);
  void SetParallel(bool parallel);
  /// Whether the world's axes are shown in a corner; not in pictures that are saved.
  void ShowAxes(bool shown);

  /// Selects the nearest vertex that is seen near a pixel of the buffer, in place of what was
  /// selected; without one nothing is selected. With `add` the others stay, and a vertex that was
  /// selected is no more.
  void Select(int x, int y, bool add);
  const std::vector<PickedVertex>& Selection() const { return m_selection; }

  /// Draws now. Returns false when that is impossible; the listener then heard why.
  bool DrawFrame();
  /// Whether the window shows all that it will show unless something changes.
  bool IsAtRest() const { return !m_isStale && !m_rest.isActive() && !m_work; }
  /// Whether the picture at rest is being made.
  bool IsRefining() const { return m_work != nullptr; }
  /// What is drawn while things move.
  MovingDetail& Detail() { return m_detail; }

  QSize sizeHint() const override { return {960, 640}; }

 protected:
  QPaintEngine* paintEngine() const override { return nullptr; }  // Qt paints nothing here
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  bool EnsureSurface(std::string* error);
  bool PaintScene(SceneView& scene);
  void TakeBackdrop();
  bool FitBackdrop(std::string* error);
  bool MakeView(const std::shared_ptr<hostkit::Scene>& model, const Imath::Box3f& reach,
                ShownSubject* subject, std::string* error);
  void DropScene();
  SceneView* ChooseDetail(bool isOther, FrameFigures* figures);
  bool Rebuild(std::string* error);
  bool ShowPose(std::string* error);
  /// Whether each moment is cut open anew.
  bool IsCutAnew() const { return m_subject.IsCut() && !m_animations.empty(); }
  void PaintMarks();
  bool Refine(std::string* error);
  void BeginRefining();
  void GoOnRefining();
  void StopRefining();
  bool PauseRefining();
  bool CanRefine() const;
  bool IsSeen(const PickedVertex& vertex, const hostkit::View& view);
  void Tell(bool drawn, const FrameFigures& figures, const std::string& error);
  float Aspect() const;
  void Changed();

  GADriver* m_driver = nullptr;
  bool m_driverOutlines = false;  // it draws polygons as wires
  Listener m_listener;
  gl3::RenderOptions m_options;
  hostkit::FrameSettings m_settings;      // of m_options, with the overlays' pictures
  std::shared_ptr<HBitmapNode> m_behind;  // its backdrop in bytes, for the window
  OrbitCamera m_camera;
  std::shared_ptr<hostkit::Scene> m_model;
  ShownTime m_time;
  std::vector<int> m_animations;  // of the model, that m_time names
  std::unique_ptr<hostkit::ScenePoser> m_poser;
  VisibleParts m_parts;    // of the model
  ShownSubject m_subject;  // likewise
  Imath::Box3f m_reach;    // its bounds while it moves
  int m_marked = -1;
  Imath::Box3f m_markedBox;  // of its mesh
  std::vector<PickedVertex> m_selection;
  // What the driver made. The surface is the last to go.
  std::unique_ptr<WindowSurface> m_surface;
  std::unique_ptr<SceneView> m_scene;
  MovingDetail m_detail;
  bool m_isReduced = false;  // the frame that was drawn last
  // Kept from model to model: the renderer never lets go of the surface that it makes for each
  // effect and size.
  std::unique_ptr<gl3::EffectStage> m_effects;
  std::unique_ptr<PictureShow> m_refined;  // null while it is out of date
  double m_refineMilliseconds = 0;
  // The picture at rest while it is made, and what came of it.
  std::unique_ptr<SlicedWork> m_work;
  QTimer m_slices;
  QElapsedTimer m_slice;  // since the present one began
  bool m_isRefined = false;
  std::string m_refineError;
  bool m_showsAxes = false;
  bool m_isStale = true;  // something changed since a frame was drawn
  QTimer m_rest;
  std::string m_lastTrouble;
  QPoint m_pressed, m_last;  // of the mouse, in widget pixels
  bool m_dragged = false;
};

}  // namespace view
