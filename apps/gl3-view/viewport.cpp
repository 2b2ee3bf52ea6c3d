// The part of the window that the renderer draws into.
#include "apps/gl3-view/viewport.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "apps/work/render/frame_setup.h"
#include "host/GADriver.h"
#include "hostkit/scene/camera.h"
#include "hostkit/services/module_settings.h"

namespace view {
namespace {

using Clock = std::chrono::steady_clock;

// How long nothing must change before the frame is drawn as it would be saved.
constexpr int kRestMilliseconds = 200;
// How far from the mouse a vertex may be to be selected, in pixels.
constexpr float kPickRadius = 8;
// The three-quarter view that gl3 render takes unasked.
const Imath::V3f kFirstView(0.7f, 0.45f, 1);

double MillisecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

}  // namespace

Viewport::Viewport(QWidget* parent) : QWidget(parent) {
  // A window of its own on the X server, of which nobody but the renderer paints a pixel.
  setAttribute(Qt::WA_NativeWindow);
  setAttribute(Qt::WA_DontCreateNativeAncestors);
  setAttribute(Qt::WA_PaintOnScreen);
  setAttribute(Qt::WA_NoSystemBackground);
  setAttribute(Qt::WA_OpaquePaintEvent);
  setFocusPolicy(Qt::StrongFocus);
  setMinimumSize(64, 64);
  m_rest.setSingleShot(true);
  m_rest.setInterval(kRestMilliseconds);
  connect(&m_rest, &QTimer::timeout, this, [this] { RefineNow(); });
}

Viewport::~Viewport() = default;

bool Viewport::SetDriver(GADriver* driver, std::string* error) {
  m_rest.stop();
  m_refined.reset();
  m_effects.reset();
  m_scene.reset();
  m_surface.reset();
  m_driver = driver;
  if (!driver) return true;
  // As the driver has read it, and with what a mode asked for.
  m_driverOutlines =
      hostkit::ReadModuleSetting(*hostkit::FindModuleSetting("Polygonmode")).value != 0;
  m_effects = std::make_unique<gl3::EffectStage>();
  if (m_model) {
    if (EnsureSurface(error)) m_scene = SceneView::Create(driver, m_model, error);
    if (!m_scene) m_model.reset();
  }
  Changed();
  return !m_model == !m_scene;
}

bool Viewport::SetScene(std::shared_ptr<const hostkit::Scene> scene, std::string* error) {
  if (!EnsureSurface(error)) return false;
  std::unique_ptr<SceneView> view = SceneView::Create(m_driver, scene, error);
  if (!view) return false;
  m_selection.clear();
  m_surface->Info()->scene = nullptr;  // the record of the one that goes
  m_scene = std::move(view);
  m_model = std::move(scene);
  m_camera.SetUpAxis(m_options.upAxis.value_or(m_model->upAxis));
  m_camera.SetSubject(m_scene->Bounds(), hostkit::ExtremePoints(*m_model), m_model->origin);
  LookFrom(kFirstView);
  if (m_listener.selected) m_listener.selected(m_selection);
  return true;
}

bool Viewport::SetOptions(const gl3::RenderOptions& options, std::string* error) {
  hostkit::FrameSettings settings;
  const gl3::Outcome outcome = gl3::MakeFrameSettings(options, &settings);
  if (outcome.status != gl3::kDone) {
    *error = outcome.message;
    return false;
  }
  m_options = options;
  m_settings = std::move(settings);
  if (m_model) m_camera.SetUpAxis(m_options.upAxis.value_or(m_model->upAxis));
  Changed();
  return true;
}

gl3::RenderOptions Viewport::Options() const {
  gl3::RenderOptions options = m_options;
  m_camera.Fill(&options);
  if (m_surface && m_surface->Width() > 0) {
    options.width = m_surface->Width();
    options.height = m_surface->Height();
  }
  return options;
}

hostkit::Picture Viewport::Render(const gl3::RenderOptions& options, std::string* renderer,
                                  std::string* error) {
  hostkit::FrameSettings settings;
  const gl3::Outcome outcome = gl3::MakeFrameSettings(options, &settings);
  if (outcome.status != gl3::kDone) {
    *error = outcome.message;
    return {};
  }
  hostkit::Picture picture = m_scene->Render(options, settings, *m_effects, error);
  *renderer = m_scene->RendererName();
  return picture;
}

float Viewport::Aspect() const {
  return static_cast<float>(width()) / static_cast<float>(std::max(height(), 1));
}

void Viewport::Changed() {
  m_refined.reset();
  m_rest.stop();
  m_isStale = true;
  update();
}

std::pair<float, float> Viewport::SceneDistances() const {
  if (!m_scene) return {1.0f, 10.0f};
  const hostkit::View view = CurrentView();
  return {view.nearDistance, view.farDistance};
}

void Viewport::Fit() {
  m_camera.Fit(Aspect());
  Changed();
}

void Viewport::LookFrom(const Imath::V3f& direction) {
  m_camera.LookFrom(direction, Aspect());
  Changed();
}

void Viewport::TakeCamera(const hostkit::SceneCamera& camera) {
  m_camera.Take(camera);
  Changed();
}

void Viewport::SetParallel(bool parallel) {
  m_camera.SetParallel(parallel);
  Changed();
}

bool Viewport::EnsureSurface(std::string* error) {
  if (!m_driver) {
    *error = "the renderer is not loaded; start the program again";
    return false;
  }
  if (!m_surface) m_surface = WindowSurface::Adopt(winId(), m_driver, error);
  return m_surface && m_surface->Fit(error);
}

bool Viewport::PaintScene() {
  hostkit::FrameSettings settings = m_settings;
  settings.width = m_surface->Width();
  settings.height = m_surface->Height();
  settings.samplesPerSide = 1;
  settings.transparentBackground = false;
  settings.depth = false;
  return m_scene->Paint(*m_surface, settings, CurrentView());
}

bool Viewport::DrawFrame() {
  m_isStale = false;
  std::string error;
  const bool ready = EnsureSurface(&error);
  bool isWhole = true;
  FrameFigures figures;
  if (ready) {
    figures = {0, m_surface->Width(), m_surface->Height(), m_refined != nullptr};
    const Clock::time_point start = Clock::now();
    if (m_refined) {
      isWhole = m_refined->Paint(*m_surface);
    } else if (m_scene) {
      isWhole = PaintScene();
    } else {
      m_surface->Clear(m_settings.background);
    }
    figures.milliseconds = m_refined ? m_refineMilliseconds : MillisecondsSince(start);
    std::vector<Imath::V3f> places;
    for (const PickedVertex& vertex : m_selection) places.push_back(vertex.place);
    if (m_scene) PaintControlPoints(*m_surface, CurrentView(), places);
    m_surface->Present();
    if (m_scene && !m_refined && CanRefine()) m_rest.start();
  }
  if (!isWhole) {
    error = "memory ran out for a picture over the frame; make it or the window smaller";
  }
  Tell(ready && isWhole, figures, error);
  return ready;
}

void Viewport::Tell(bool drawn, const FrameFigures& figures, const std::string& error) {
  if (drawn) {
    m_lastTrouble.clear();
    if (m_listener.drawn) m_listener.drawn(figures);
  } else if (error != std::exchange(m_lastTrouble, error) && m_listener.trouble) {
    m_listener.trouble(error);  // once, and not with every frame
  }
}

/// Whether a saved picture would differ from the frame, and can be shown in its place: where the
/// driver outlines polygons it outlines pictures, too.
bool Viewport::CanRefine() const {
  if (m_driverOutlines) return false;
  return m_settings.samplesPerSide > 1 || !m_options.effects.calls.empty();
}

bool Viewport::Refine(std::string* error) {
  const Clock::time_point start = Clock::now();
  const gl3::RenderOptions options = Options();
  hostkit::FrameSettings settings = m_settings;
  settings.width = options.width;
  settings.height = options.height;
  const hostkit::Picture picture = m_scene->Render(options, settings, *m_effects, error);
  if (!picture.bitmap) return false;
  m_refineMilliseconds = MillisecondsSince(start);
  auto shown = std::make_unique<PictureShow>(m_driver);
  if (!shown->Take(picture)) {
    *error = "memory ran out; make the window smaller";
    return false;
  }
  m_refined = std::move(shown);
  return true;
}

void Viewport::RefineNow() {
  std::string error;
  if (!m_scene || !EnsureSurface(&error)) return;
  if (Refine(&error)) {
    DrawFrame();
  } else {
    Tell(false, {}, error);
  }
}

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
  const hostkit::View view = CurrentView();
  const std::vector<PickedVertex> candidates =
      VerticesNear(*m_model, view, m_surface->Width(), m_surface->Height(),
                   static_cast<float>(x) + 0.5f, static_cast<float>(y) + 0.5f, kPickRadius);
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

void Viewport::paintEvent(QPaintEvent*) {
  if (m_driver) DrawFrame();
}

void Viewport::resizeEvent(QResizeEvent*) {
  Changed();
}

}  // namespace view
