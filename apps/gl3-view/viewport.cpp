// The part of the window that the renderer draws into.
#include "apps/gl3-view/viewport.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "apps/gl3-view/texts.h"
#include "apps/work/render/frame_setup.h"
#include "host/GADriver.h"
#include "hostkit/effects/byte_image.h"
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
    if (!MakeView(m_model, m_reach, &m_subject, error)) {
      DropScene();
    } else if (!ShowPose(error)) {
      return false;
    }
  }
  Changed();
  return !m_model == !m_scene;
}

/// Uploads what is drawn of a model. One that moves is posed as its animation begins, or where it
/// is cut anew for each moment, at that moment. `reach`: its bounds while it moves.
bool Viewport::MakeView(const std::shared_ptr<hostkit::Scene>& model, const Imath::Box3f& reach,
                        ShownSubject* subject, std::string* error) {
  if (!EnsureSurface(error)) return false;
  if (subject->MovesPictures()) m_detail.LetGo();  // it may read them
  std::unique_ptr<SceneView> view = SceneView::Create(m_driver, subject->Make(reach), model, error);
  if (!view) return false;
  StopRefining();
  m_surface->Info()->scene = nullptr;  // the record of the one that goes
  m_scene = std::move(view);
  m_detail.Forget();
  return true;
}

/// There is no model any more.
void Viewport::DropScene() {
  StopRefining();
  if (m_surface) m_surface->Info()->scene = nullptr;
  m_detail.Forget();
  m_scene.reset();
  m_poser.reset();
  m_subject = ShownSubject();
  m_model.reset();
  Changed();
}

bool Viewport::SetScene(std::shared_ptr<hostkit::Scene> scene, bool stays, std::string* error) {
  ShownTime time = m_time;
  if (!stays) time.isAnimated = false;
  std::vector<int> animations;
  if (time.isAnimated) animations = hostkit::FindAnimations(*scene, time.animation);
  time.isAnimated = !animations.empty();
  const hostkit::SceneReach reach = hostkit::MeasureReach(*scene, animations);
  ShownSubject subject(scene);
  subject.Dress(m_options.subject);
  if (!MakeView(scene, reach.bounds, &subject, error)) return false;
  m_subject = std::move(subject);
  m_reach = reach.bounds;
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
  const bool isShown = ShowPose(error);
  if (m_listener.selected) m_listener.selected(m_selection);
  return isShown;
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
  return ShowPose(error);
}

/// Uploads the model anew, of which other parts or animations are shown now. Where it is seen from
/// stays.
bool Viewport::Rebuild(std::string* error) {
  if (m_animations.empty()) hostkit::PoseScene(*m_model, {}, 0);
  const hostkit::SceneReach reach = hostkit::MeasureReach(*m_model, m_animations);
  m_poser = std::make_unique<hostkit::ScenePoser>(*m_model);
  m_camera.SetSubject(reach.bounds, reach.points, m_model->origin);
  m_reach = reach.bounds;
  if (MakeView(m_model, m_reach, &m_subject, error)) return ShowPose(error);
  DropScene();
  return false;
}

bool Viewport::Hide(std::vector<bool> hidden, std::string* error) {
  if (!m_scene) return true;
  hidden.resize(m_parts.Count());
  if (std::find(hidden.begin(), hidden.end(), false) == hidden.end()) {
    *error = Tr("nothing would be left to see; show another part first").toStdString();
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

/// Puts the model where it is at the time that is shown. What is cut open is cut anew for that.
/// Without memory there is no model any more, with one line in `*error`.
bool Viewport::ShowPose(std::string* error) {
  m_poser->Pose(m_animations, m_time.Seconds());
  m_detail.Pose(m_animations, m_time.Seconds());
  if (IsCutAnew() && !MakeView(m_model, m_reach, &m_subject, error)) {
    DropScene();
    return false;
  }
  m_scene->TakePose();
  Changed();
  return true;
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
  TakeBackdrop();
  if (m_model) m_camera.SetUpAxis(m_options.upAxis.value_or(m_model->upAxis));
  Changed();
  if (!m_model || !m_subject.IsOther(options.subject)) return true;
  m_detail.LetGo();
  m_subject.Dress(options.subject);
  return !m_scene || Rebuild(error);
}

/// Gets what is behind the scene ready for the window.
void Viewport::TakeBackdrop() {
  m_behind.reset();
  if (m_settings.backdrop) m_behind = hostkit::BytesFromHalves(*m_settings.backdrop);
}

/// Makes what is behind the scene anew when the window has another size. False with one line in
/// `*error` when that fails, and then nothing is behind it.
bool Viewport::FitBackdrop(std::string* error) {
  const bool fits =
      m_settings.width == m_surface->Width() && m_settings.height == m_surface->Height();
  if (!m_settings.backdrop || fits) return true;
  hostkit::FrameSettings settings;
  const gl3::Outcome outcome = gl3::MakeFrameSettings(Options(), &settings);
  if (outcome.status == gl3::kDone) {
    m_settings = std::move(settings);
  } else {
    m_settings.backdrop.reset();
    *error = outcome.message;
  }
  TakeBackdrop();
  return outcome.status == gl3::kDone;
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
    *error = Tr("the renderer is not loaded; start the program again").toStdString();
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
  scene.SetBehind(m_behind);
  return scene.Paint(*m_surface, scene.WithScaleBar(Options(), settings), CurrentView());
}

/// What to draw now. Less detail is for frames that are followed by one with all of it, and what
/// stands still with all of it is not to lose it when it is uncovered.
SceneView* Viewport::ChooseDetail(bool isOther, FrameFigures* figures) {
  const bool mayBeLess = !m_driverOutlines && (isOther || m_isReduced);
  SceneView* const less = mayBeLess ? m_detail.Ready(m_driver) : nullptr;
  figures->reduced = m_isReduced = less != nullptr;
  return less ? less : m_scene.get();
}

bool Viewport::DrawFrame() {
  StopRefining();  // its surface is another one
  const bool isOther = std::exchange(m_isStale, false);
  std::string error;
  const bool ready = EnsureSurface(&error);
  bool isWhole = true;
  FrameFigures figures;
  if (ready) {
    figures = {0, m_surface->Width(), m_surface->Height(), m_refined != nullptr};
    const Clock::time_point start = Clock::now();
    isWhole = FitBackdrop(&error);
    if (m_refined) {
      isWhole = m_refined->Paint(*m_surface) && isWhole;
    } else if (m_scene) {
      isWhole = PaintScene(*ChooseDetail(isOther, &figures)) && isWhole;
    } else {
      m_surface->Clear(m_settings.background);
    }
    figures.milliseconds = m_refined ? m_refineMilliseconds : MillisecondsSince(start);
    if (m_scene) PaintMarks();
    m_surface->Present();
    if (m_scene && !m_refined && !figures.reduced && !IsCutAnew()) {
      m_detail.Took(m_scene->Shared(), MillisecondsSince(start));
    }
    if (m_scene && !m_refined && CanRefine()) m_rest.start();
  }
  if (!isWhole && error.empty()) {
    error = Tr("memory ran out for a picture over the frame; make it or the window smaller")
                .toStdString();
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
