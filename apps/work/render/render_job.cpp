// The work of `gl3 render`, from model files to picture files.
#include "apps/work/render/render_job.h"

#include <fmt/format.h>

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "apps/base/text.h"
#include "apps/work/common/confine_work.h"
#include "apps/work/common/driver_session.h"
#include "apps/work/common/font_check.h"
#include "apps/work/common/picture_reader.h"
#include "apps/work/common/stopwatch.h"
#include "apps/work/render/effect_stage.h"
#include "apps/work/render/frame_setup.h"
#include "apps/work/render/nothing_seen.h"
#include "apps/work/render/render_camera.h"
#include "apps/work/render/render_recipe.h"
#include "apps/work/render/render_report.h"
#include "apps/work/render/render_sequence.h"
#include "hostkit/frame/frame_renderer.h"
#include "hostkit/isolated/import_process.h"
#include "hostkit/pictures/picture.h"
#include "hostkit/scene/camera.h"
#include "hostkit/scene/node_animation.h"
#include "hostkit/services/registry.h"
#include "platform/platform.h"

namespace gl3 {
namespace {

/// One run with what its steps share.
class RenderRun {
 public:
  RenderRun(const RenderOptions& options, const std::string& command, ParentLine& line)
      : m_options(options), m_line(line) {
    m_recipe.command = command;
  }

  Outcome Run(std::string* result);

 private:
  void StartImport();
  Outcome StartReader();
  Outcome Confine() const;
  Outcome StartDriver();
  Outcome LoadFrameSettings();
  Outcome FinishImport();
  Outcome Plan();
  Outcome ChooseAnimations();
  Outcome Upload();
  Outcome MakeShots();
  Outcome MakeShot(const Shot& shot);
  Outcome Draw(const Shot& shot, hostkit::SceneCamera* camera, hostkit::Picture* picture);
  Outcome WriteDepth(const Shot& shot, const hostkit::Picture& picture,
                     const hostkit::Recipe& recipe);
  Outcome Write(const Shot& shot, const hostkit::SceneCamera& camera,
                const hostkit::Picture& picture);
  void Warn(const std::string& text);
  bool HasSeveralCameras() const {
    return m_options.cameras.size() > 1 || AreAllCameras(m_options.cameras);
  }

  const RenderOptions& m_options;
  ParentLine& m_line;
  RecipeBase m_recipe;
  RenderReport m_report;
  std::unique_ptr<hostkit::ImportProcess> m_import;
  std::unique_ptr<PictureReader> m_reader;
  std::unique_ptr<DriverSession> m_session;
  std::unique_ptr<hostkit::Scene> m_scene;
  std::unique_ptr<hostkit::ScenePoser> m_poser;  // of that scene
  std::vector<int> m_animations;                 // that are played
  std::vector<Shot> m_shots;
  std::unique_ptr<CameraChooser> m_cameras;
  Imath::Box3f m_bounds;  // of the scene as it is posed
  hostkit::FrameSettings m_settings;
  std::unique_ptr<hostkit::FrameRenderer> m_renderer;
  EffectStage m_effects;
  ShotReport m_shotReport;  // of the picture at hand
};

void RenderRun::Warn(const std::string& text) {
  m_line.Warn(text);
  m_report.warnings.push_back(text);
}

Outcome RenderRun::StartDriver() {
  m_line.Enter(Phase::kStart, "OpenGL");
  const Stopwatch watch;
  ApplyDriverSettings(m_options);
  Outcome outcome;
  m_session = DriverSession::Start({m_options.run.device, m_options.run.module}, &outcome);
  if (const std::string trouble = hostkit::RegistryError(); !trouble.empty()) Warn(trouble);
  if (!m_session) return outcome;
  const platform::DisplayReport& display = platform::DescribeDisplay();
  m_report.start = watch.Milliseconds();
  m_report.platform = display.platform;
  m_report.device = display.device;
  m_report.software = display.software;
  m_line.Note(fmt::format("{}: loaded; display {} {} ({})", m_session->ModulePath(),
                          display.platform, display.device, display.reason));
  return {};
}

/// Beside OpenGL, which takes about as long to start as a small model to import.
void RenderRun::StartImport() {
  hostkit::ImportLimits limits;
  limits.processorSeconds = m_options.run.limits.timeoutSeconds;
  limits.memory = m_options.run.limits.maxMemory;
  limits.confined = m_options.run.confined;
  limits.showsMessages = true;  // standard error is silenced here unless the user wants all
  m_import = std::make_unique<hostkit::ImportProcess>(m_options.models, limits, m_options.scene);
}

/// Of overlays, if there are any.
Outcome RenderRun::StartReader() {
  Outcome outcome;
  if (m_options.drawing.overlays.empty()) return outcome;
  m_reader = PictureReader::Start(m_options.run.confined, &outcome);
  return outcome;
}

Outcome RenderRun::Confine() const {
  WorkFiles files = {m_options.models, {m_options.output, m_options.drawing.depth}};
  for (const OverlayOption& overlay : m_options.drawing.overlays) {
    files.inputs.push_back(overlay.path);
  }
  return ConfineDrawing(files, m_options.run.module, m_options.run.confined);
}

Outcome RenderRun::LoadFrameSettings() {
  if (!m_options.drawing.overlays.empty()) {
    m_line.Enter(Phase::kImport, m_options.drawing.overlays.front().path);
  }
  Outcome outcome = MakeFrameSettings(m_options, &m_settings, m_reader.get());
  m_reader.reset();  // it is needed no more
  if (outcome.status != kDone) return outcome;
  if (!m_settings.texts.empty()) {
    // The renderer draws on without a font, and tells it where nobody hears.
    const std::string problem = FontProblem();
    if (!problem.empty()) Warn("--text: " + problem);
  }
  return {};
}

/// Reports what the run waits for it: most of an import takes place while OpenGL starts.
Outcome RenderRun::FinishImport() {
  const Stopwatch watch;
  std::string error;
  const hostkit::ImportEnd end = m_import->Finish(
      [&](const std::string& model) { m_line.Enter(Phase::kImport, model); }, &m_scene, &error);
  if (end != hostkit::ImportEnd::kDone) {
    return {end == hostkit::ImportEnd::kUnreadable ? kUnreadableInput : kRunFailed, error};
  }
  for (const std::string& warning : m_scene->warnings) Warn(warning);
  m_report.import = watch.Milliseconds();
  m_report.triangles = m_scene->TriangleCount();
  m_line.Note(
      fmt::format("{} triangles in {:.1f} ms", m_report.triangles, m_import->Milliseconds()));
  return {};
}

Outcome RenderRun::ChooseAnimations() {
  const SequenceOptions& sequence = m_options.sequence;
  if (!sequence.IsAnimated()) return {};
  m_animations = hostkit::FindAnimations(*m_scene, sequence.animation);
  if (m_animations.empty() && !sequence.animation.empty()) {
    std::vector<std::string> names;
    for (const hostkit::SceneAnimation& one : m_scene->motion.animations) names.push_back(one.name);
    const std::string wrong =
        "--animation: there is no animation " + ShellQuote(sequence.animation) + "; ";
    return {kWrongUsage, wrong + (names.empty() ? "the model has none, so leave it out"
                                                : "the model has " + JoinNames(names))};
  }
  if (m_animations.empty() && sequence.turntable == 0 && sequence.frames.size() > 1) {
    Warn(
        "--frames: the model has no animation, so that all frames show the same; give "
        "--turntable to move the camera");
  }
  if (m_animations.empty()) return {};
  for (const std::string& warning : m_scene->motion.warnings) Warn(warning);
  return {};
}

/// What is drawn from where, before anything is.
Outcome RenderRun::Plan() {
  Outcome outcome = ChooseAnimations();
  if (outcome.status == kDone) outcome = PlanShots(m_options, *m_scene, &m_shots);
  if (outcome.status == kDone) outcome = CheckFolders(m_shots);
  if (outcome.status != kDone) return outcome;
  const hostkit::SceneReach reach = hostkit::MeasureReach(*m_scene, m_animations);
  m_poser = std::make_unique<hostkit::ScenePoser>(*m_scene);
  m_bounds = reach.bounds;
  m_cameras = std::make_unique<CameraChooser>(m_options, *m_scene, reach);
  m_recipe.inputs = DescribeInputs(m_options.models);
  for (const std::string& warning : CompareInputs(m_options, m_recipe.inputs)) Warn(warning);
  return {};
}

Outcome RenderRun::Upload() {
  m_line.Enter(Phase::kDraw, "OpenGL");
  std::string error;
  m_renderer = hostkit::FrameRenderer::Create(m_session->Driver(), *m_scene, &error);
  if (!m_renderer) return {kRunFailed, error};
  m_report.upload = m_renderer->UploadMilliseconds();
  m_line.Note(fmt::format("upload {:.1f} ms", m_report.upload));
  return {};
}

Outcome RenderRun::Draw(const Shot& shot, hostkit::SceneCamera* camera, hostkit::Picture* picture) {
  m_line.Enter(Phase::kDraw, "OpenGL");
  if (!m_animations.empty()) {
    // Not told to the renderer: it keeps the bounds of the animation's beginning for its grid and
    // lights, which would otherwise jump from frame to frame.
    m_poser->Pose(m_animations, shot.time);
    const hostkit::SceneMotion& motion = m_scene->motion;
    if (!motion.instances.empty() || !motion.deformations.empty()) m_bounds = m_scene->Bounds();
  }
  *camera = m_cameras->Choose(*m_scene, shot.camera, shot.frame);
  std::string error;
  const hostkit::View view = hostkit::ViewFor(*camera, m_bounds);
  *picture = m_renderer->Render(m_settings, view, &error);
  if (!picture->bitmap) return {kRunFailed, error};
  const std::string lack = NothingSeen(*m_scene, m_settings, view, *picture);
  if (!lack.empty()) Warn(shot.output + ": " + lack);
  const Stopwatch effectsWatch;
  if (!m_effects.Apply(m_session->Driver(), m_options.effects.calls, picture, &error)) {
    return {kRunFailed, error};
  }
  m_shotReport.effects = m_options.effects.calls.empty() ? 0 : effectsWatch.Milliseconds();
  m_shotReport.draw = m_renderer->LastTimes().draw;
  m_shotReport.readBack = m_renderer->LastTimes().readBack;
  m_recipe.renderer = m_report.renderer = m_renderer->RendererName();
  m_line.Note(fmt::format("{}: draw {:.1f} ms, read-back {:.1f} ms", m_report.renderer,
                          m_shotReport.draw, m_shotReport.readBack));
  return {};
}

Outcome RenderRun::WriteDepth(const Shot& shot, const hostkit::Picture& picture,
                              const hostkit::Recipe& recipe) {
  m_line.Enter(Phase::kWrite, shot.depth);
  hostkit::PictureOptions depthAlone;
  depthAlone.colors = depthAlone.passes = false;
  std::string error;
  if (hostkit::WritePicture(shot.depth, picture, recipe, depthAlone, &error)) return {};
  return {kUnwritableOutput, error};
}

Outcome RenderRun::Write(const Shot& shot, const hostkit::SceneCamera& camera,
                         const hostkit::Picture& picture) {
  m_line.Enter(Phase::kWrite, shot.output);
  const Stopwatch watch;
  hostkit::Recipe recipe =
      MakeRecipe(m_recipe, m_options, shot, DescribeCamera(camera, m_scene->origin));
  AddIdNames(m_options, *m_scene, &recipe);
  std::string error;
  hostkit::PictureOptions pictureOptions;
  pictureOptions.quality = m_options.jpegQuality;
  pictureOptions.exrEncoding = m_options.exrEncoding;
  const bool isDepthInside = shot.depth == shot.output;
  pictureOptions.depth = isDepthInside || m_options.passes.z;
  if (!hostkit::WritePicture(shot.output, picture, recipe, pictureOptions, &error)) {
    return {kUnwritableOutput, error};
  }
  if (!shot.depth.empty() && !isDepthInside) {
    Outcome outcome = WriteDepth(shot, picture, recipe);
    if (outcome.status != kDone) return outcome;
  }
  m_shotReport.write = watch.Milliseconds();
  m_line.Note(fmt::format("{}: written in {:.1f} ms", shot.output, m_shotReport.write));
  return {};
}

Outcome RenderRun::MakeShot(const Shot& shot) {
  const Stopwatch watch;
  m_shotReport = {shot.frame, shot.time, shot.cameraName, shot.output};
  hostkit::SceneCamera camera;
  hostkit::Picture picture;
  Outcome outcome = Draw(shot, &camera, &picture);
  if (outcome.status == kDone) outcome = Write(shot, camera, picture);
  m_shotReport.total = watch.Milliseconds();
  m_report.draw += m_shotReport.draw;
  m_report.readBack += m_shotReport.readBack;
  m_report.effects += m_shotReport.effects;
  m_report.write += m_shotReport.write;
  if (m_options.run.json) m_report.shots.push_back(m_shotReport);
  return outcome;
}

Outcome RenderRun::MakeShots() {
  const bool several = m_shots.size() > 1;
  for (std::size_t i = 0; i < m_shots.size(); ++i) {
    const Shot& shot = m_shots[i];
    if (m_options.sequence.skipExisting && IsThere(shot)) {
      m_line.Note(shot.output + ": is there");
      ++m_report.skipped;
      continue;
    }
    if (several) m_line.Progress(i, m_shots.size(), shot.Describe(HasSeveralCameras()));
    Outcome outcome = MakeShot(shot);
    if (outcome.status != kDone) return outcome;
    // At once: whoever ends the run now is told the true number.
    if (several) m_line.Progress(i + 1, m_shots.size(), shot.Describe(HasSeveralCameras()));
  }
  if (several) m_line.Progress(m_shots.size(), m_shots.size(), "");
  return {};
}

Outcome RenderRun::Run(std::string* result) {
  const Stopwatch watch;
  Outcome outcome;
  if (m_options.sequence.skipExisting) m_report.skipped = CountWhenAllThere(m_options);
  if (m_report.skipped > 0) {
    m_line.Note(m_options.output + ": all of it is there");
  } else {
    StartImport();  // before this process may start no other
    outcome = StartReader();
    if (outcome.status == kDone) outcome = Confine();
    // Without a driver, nobody waits for the import of a large model.
    if (outcome.status == kDone) outcome = StartDriver();
    if (outcome.status == kDone) outcome = LoadFrameSettings();
    if (outcome.status == kDone) outcome = FinishImport();
    if (outcome.status == kDone) outcome = Plan();
    if (outcome.status == kDone) outcome = Upload();
    if (outcome.status == kDone) outcome = MakeShots();
  }
  if (outcome.status != kDone || !m_options.run.json) return outcome;
  m_report.isSequence =
      m_options.sequence.IsSequence() || HasSeveralCameras() || m_options.sequence.skipExisting;
  m_report.models = m_options.models;
  m_report.output = m_options.output;
  m_report.width = m_options.width;
  m_report.height = m_options.height;
  m_report.total = watch.Milliseconds();
  *result = FormatReport(m_report);
  return outcome;
}

}  // namespace

Outcome Render(const RenderOptions& options, const std::string& command, ParentLine& line,
               std::string* result) {
  return RenderRun(options, command, line).Run(result);
}

}  // namespace gl3
