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
// The three-quarter view that gl3 render takes unasked.
const Imath::V3f kFirstView(0.7f, 0.45f, 1);

constexpr ColorBuf kSelectedColor{255, 90, 0, 255}, kMarkedColor{0, 140, 255, 255};

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
  connect(&m_rest, &QTimer::timeout, this, [this] { BeginRefining(); });
  connect(&m_slices, &QTimer::timeout, this, [this] { GoOnRefining(); });
}

Viewport::~Viewport() {
  StopRefining();
}

bool Viewport::SetDriver(GADriver* driver, std::string* error) {
  StopRefining();
  m_rest.stop();
  m_refined.reset();
  m_effects.reset();
  m_detail.ForgetDriver();
  m_scene.reset();
  m_surface.reset();
  m_driver = driver;
  if (!driver) return true;
  // As the driver has read it, and with what a mode asked for.
  m_driverOutlines =
      hostkit::ReadModuleSetting(*hostkit::FindModuleSetting("Polygonmode")).value != 0;
  m_effects = std::make_unique<gl3::EffectStage>();
  if (m_model) {
    // What is kept of a model at its upload is that of its animation's beginning.
    m_poser->Pose(m_animations, 0);
    if (EnsureSurface(error)) m_scene = SceneView::Create(driver, m_model, error);
    if (m_scene) ShowPose();
    if (!m_scene) m_model.reset();
  }
  Changed();
  return !m_model == !m_scene;
}

/// Uploads a model that is posed as its animation begins, or at rest.
bool Viewport::MakeView(const std::shared_ptr<hostkit::Scene>& model, std::string* error) {
  if (!EnsureSurface(error)) return false;
  std::unique_ptr<SceneView> view = SceneView::Create(m_driver, model, error);
  if (!view) return false;
  StopRefining();
  m_surface->Info()->scene = nullptr;  // the record of the one that goes
  m_scene = std::move(view);
  m_detail.Forget();
  return true;
}

bool Viewport::SetScene(std::shared_ptr<hostkit::Scene> scene, bool stays, std::string* error) {
  ShownTime time = m_time;
  if (!stays) time.isAnimated = false;
  std::vector<int> animations;
  if (time.isAnimated) animations = hostkit::FindAnimations(*scene, time.animation);
  time.isAnimated = !animations.empty();
  const hostkit::SceneReach reach = hostkit::MeasureReach(*scene, animations);
  if (!MakeView(scene, error)) return false;
  m_selection.clear();
  m_time = time;
  m_animations = std::move(animations);
  m_model = std::move(scene);
  m_poser = std::make_unique<hostkit::ScenePoser>(*m_model);
  m_parts = VisibleParts(*m_model);
  m_marked = -1;
  m_camera.SetUpAxis(m_options.upAxis.value_or(m_model->upAxis));
  m_camera.SetSubject(reach.bounds, reach.points, m_model->origin);
  if (!stays) LookFrom(kFirstView);
  ShowPose();
  if (m_listener.selected) m_listener.selected(m_selection);
  return true;
}

bool Viewport::SetTime(const ShownTime& time, std::string* error) {
  const bool isOther = !time.IsOfSame(m_time);
  m_time = time;
  if (!m_scene) return true;
  StopRefining();
  if (isOther) {
    m_animations.clear();
    if (time.isAnimated) m_animations = hostkit::FindAnimations(*m_model, time.animation);
    return Rebuild(error);
  }
  ShowPose();
  return true;
}

/// Uploads the model anew, of which other parts or animations are shown now. Where it is seen from
/// stays.
bool Viewport::Rebuild(std::string* error) {
  if (m_animations.empty()) hostkit::PoseScene(*m_model, {}, 0);
  const hostkit::SceneReach reach = hostkit::MeasureReach(*m_model, m_animations);
  m_poser = std::make_unique<hostkit::ScenePoser>(*m_model);
  m_camera.SetSubject(reach.bounds, reach.points, m_model->origin);
  if (MakeView(m_model, error)) {
    ShowPose();
    return true;
  }
  m_scene.reset();
  m_model.reset();
  Changed();
  return false;
}

bool Viewport::Hide(std::vector<bool> hidden, std::string* error) {
  if (!m_scene) return true;
  hidden.resize(m_parts.Count());
  if (std::find(hidden.begin(), hidden.end(), false) == hidden.end()) {
    *error = "nothing would be left to see; show another part first";
    return false;
  }
  StopRefining();
  m_selection.clear();
  m_parts.Hide(std::move(hidden), m_model.get());
  if (m_listener.selected) m_listener.selected(m_selection);
  return Rebuild(error);
}

void Viewport::Mark(int part) {
  m_marked = part;
  m_markedBox.makeEmpty();
  const int instance = part < 0 || !m_scene ? -1 : m_parts.InstanceOf(part);
  if (instance >= 0) {
    const int mesh = m_model->instances[static_cast<std::size_t>(instance)].mesh;
    const hostkit::SceneMesh& shape = m_model->meshes[static_cast<std::size_t>(mesh)];
    for (const Imath::V3f& position : shape.positions) m_markedBox.extendBy(position);
  }
  update();
}

/// What is drawn over the frame: selected vertices, and the corners of what is marked.
void Viewport::PaintMarks() {
  if (m_showsAxes) PaintAxes(*m_surface, CurrentView());
  std::vector<Imath::V3f> places;
  for (const PickedVertex& vertex : m_selection) places.push_back(vertex.place);
  PaintControlPoints(*m_surface, CurrentView(), places, kSelectedColor);
  places.clear();
  const int instance = m_marked < 0 ? -1 : m_parts.InstanceOf(m_marked);
  if (instance < 0 || m_markedBox.isEmpty()) return;
  const Imath::Box3f& box = m_markedBox;
  for (int i = 0; i < 8; ++i) {
    const Imath::V3f corner(i & 1 ? box.max.x : box.min.x, i & 2 ? box.max.y : box.min.y,
                            i & 4 ? box.max.z : box.min.z);
    places.push_back(corner * m_model->instances[static_cast<std::size_t>(instance)].toWorld);
  }
  PaintControlPoints(*m_surface, CurrentView(), places, kMarkedColor);
}

/// Puts the model where it is at the time that is shown.
void Viewport::ShowPose() {
  m_poser->Pose(m_animations, m_time.Seconds());
  m_detail.Pose(m_animations, m_time.Seconds());
  m_scene->TakePose();
  Changed();
}

bool Viewport::SetOptions(const gl3::RenderOptions& options, std::string* error) {
  hostkit::FrameSettings settings;
  const gl3::Outcome outcome = gl3::MakeFrameSettings(options, &settings);
  if (outcome.status != gl3::kDone) {
    *error = outcome.message;
    return false;
  }
  StopRefining();  // before its settings go
  m_options = options;
  m_settings = std::move(settings);
  if (m_model) m_camera.SetUpAxis(m_options.upAxis.value_or(m_model->upAxis));
  Changed();
  return true;
}

gl3::RenderOptions Viewport::Options() const {
  gl3::RenderOptions options = m_options;
  m_camera.Fill(&options);
  m_time.Fill(&options.sequence);
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
  StopRefining();
  hostkit::Picture picture = m_scene->Render(options, settings, *m_effects, error);
  *renderer = m_scene->RendererName();
  return picture;
}

float Viewport::Aspect() const {
  return static_cast<float>(width()) / static_cast<float>(std::max(height(), 1));
}

void Viewport::Changed() {
  StopRefining();
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

void Viewport::ShowAxes(bool shown) {
  m_showsAxes = shown;
  update();
}

bool Viewport::EnsureSurface(std::string* error) {
  if (!m_driver) {
    *error = "the renderer is not loaded; start the program again";
    return false;
  }
  if (!m_surface) m_surface = WindowSurface::Adopt(winId(), m_driver, error);
  return m_surface && m_surface->Fit(error);
}

bool Viewport::PaintScene(SceneView& scene) {
  hostkit::FrameSettings settings = m_settings;
  settings.width = m_surface->Width();
  settings.height = m_surface->Height();
  settings.samplesPerSide = 1;
  settings.transparentBackground = false;
  settings.depth = false;
  return scene.Paint(*m_surface, settings, CurrentView());
}

/// What to draw now. Less detail is for frames that are followed by one with all of it.
SceneView* Viewport::ChooseDetail(FrameFigures* figures) {
  SceneView* const less = m_driverOutlines ? nullptr : m_detail.Ready(m_driver);
  figures->reduced = m_isReduced = less != nullptr;
  return less ? less : m_scene.get();
}

bool Viewport::DrawFrame() {
  StopRefining();  // its surface is another one
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
      isWhole = PaintScene(*ChooseDetail(&figures));
    } else {
      m_surface->Clear(m_settings.background);
    }
    figures.milliseconds = m_refined ? m_refineMilliseconds : MillisecondsSince(start);
    if (m_scene) PaintMarks();
    m_surface->Present();
    if (m_scene && !m_refined && !figures.reduced) {
      m_detail.Took(m_model, MillisecondsSince(start));
    }
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

void Viewport::paintEvent(QPaintEvent*) {
  if (m_driver) DrawFrame();
}

void Viewport::resizeEvent(QResizeEvent*) {
  Changed();
}

}  // namespace view
