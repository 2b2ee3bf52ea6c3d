// One scene on its way to its pictures.
#include "apps/work/render/model_render.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "apps/base/file_checks.h"
#include "apps/base/text.h"
#include "apps/work/render/frame_setup.h"
#include "apps/work/render/nothing_seen.h"
#include "hostkit/feed/light_sets.h"
#include "hostkit/pictures/picture_stream.h"
#include "hostkit/scene/camera.h"

namespace gl3 {
namespace {

/// What there is to tell of a colour that nothing of the model takes; empty where something does.
std::string UnseenColor(const RenderOptions& options, const hostkit::Scene& scene) {
  const auto isOfLines = [](const hostkit::SceneMesh& mesh) {
    return !mesh.lines.empty() || !mesh.points.empty();
  };
  const auto isOfTriangles = [](const hostkit::SceneMesh& mesh) { return !mesh.triangles.empty(); };
  const auto& meshes = scene.meshes;
  const DrawingOptions& drawing = options.drawing;
  if (drawing.lineColor && std::none_of(meshes.begin(), meshes.end(), isOfTriangles)) {
    return "--line-color: the model has no triangles with edges; --color is for lines and points "
           "of its own";
  }
  const bool areSurfacesBlank = drawing.mode == hostkit::DrawMode::kLines && !drawing.lineColor;
  if (options.subject.look.color && areSurfacesBlank &&
      std::none_of(meshes.begin(), meshes.end(), isOfLines)) {
    return "--color: --mode lines shows no surfaces; --line-color is for lines";
  }
  return "";
}

}  // namespace

ModelRender::ModelRender(const RenderOptions& options, const std::string& command,
                         RenderSession& session, ParentLine& line, Progress progress)
    : m_options(options), m_session(session), m_line(line), m_progress(std::move(progress)) {
  m_recipe.command = command;
}

void ModelRender::Warn(const std::string& text) {
  // What is about an option is told without the model where there is no other.
  const bool isNameless = m_options.IsEach() && text.starts_with("--");
  const std::string line = isNameless ? m_options.models.front() + ": " + text : text;
  m_line.Warn(line);
  m_report.warnings.push_back(line);
}

/// Reports what the run waited for the import: most of it takes place while OpenGL starts.
Outcome ModelRender::Take(ImportedModel model) {
  if (model.end == hostkit::ImportEnd::kUnreadable) {
    return UnreadableInput(m_options.models, model.error);
  }
  if (model.end != hostkit::ImportEnd::kDone) return {kRunFailed, model.error};
  m_scene = std::move(model.scene);
  for (const std::string& warning : m_scene->warnings) Warn(warning);
  const hostkit::LightSet lights = m_options.drawing.lights;
  const bool isLitByModel =
      lights == hostkit::LightSet::kAuto || lights == hostkit::LightSet::kScene;
  if (isLitByModel && m_scene->lights.size() > hostkit::kMaxLights) {
    Warn(
        fmt::format("{}: of its {} lights the {} strongest are drawn with; choose others with "
                    "--lights, or split the model",
                    m_options.models.front(), m_scene->lights.size(), hostkit::kMaxLights));
  }
  Outcome outcome = PrepareSubject(m_options.subject, m_scene.get());
  if (outcome.status != kDone) return outcome;
  const std::string color = UnseenColor(m_options, *m_scene);
  if (!color.empty()) Warn(color);
  m_report.import = model.waited;
  m_report.triangles = m_scene->TriangleCount();
  m_line.Note(fmt::format("{} triangles in {:.1f} ms", m_report.triangles, model.taken));
  return {};
}

Outcome ModelRender::ChooseAnimations() {
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
Outcome ModelRender::Plan() {
  Outcome outcome = ChooseAnimations();
  if (outcome.status == kDone) outcome = PlanShots(m_options, *m_scene, &m_shots);
  if (outcome.status == kDone) outcome = CheckFolders(m_options, m_shots);
  if (outcome.status != kDone) return outcome;
  const hostkit::SceneReach reach = hostkit::MeasureReach(*m_scene, m_animations);
  m_poser = std::make_unique<hostkit::ScenePoser>(*m_scene);
  m_bounds = reach.bounds;
  m_cameras = std::make_unique<CameraChooser>(m_options, *m_scene, reach);
  m_recipe.inputs = DescribeInputs(m_options.models);
  for (const std::string& warning : CompareInputs(m_options, m_recipe.inputs)) Warn(warning);
  return {};
}

Outcome ModelRender::Upload() {
  m_line.Enter(Phase::kDraw, "OpenGL");
  Outcome outcome;
  std::string warning;
  m_subject = SubjectRenderer::Create(m_session.driver->Driver(), m_scene.get(), m_options.subject,
                                      m_bounds, !m_animations.empty(), &outcome, &warning);
  if (!m_subject) return outcome;
  if (!warning.empty()) Warn(warning);
  m_report.upload = m_subject->UploadMilliseconds();
  m_line.Note(fmt::format("upload {:.1f} ms", m_report.upload));
  return {};
}

Outcome ModelRender::DrawShot(const Shot& shot, hostkit::SceneCamera* camera,
                              hostkit::Picture* picture) {
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
  if (!m_subject->Update(&error)) return {kRunFailed, error};
  hostkit::FrameRenderer& renderer = m_subject->Renderer();
  const hostkit::View view = hostkit::ViewFor(*camera, m_bounds);
  const hostkit::FrameSettings settings = WithScaleBar(m_session.settings, m_options.drawing,
                                                       *camera, m_cameras->TargetDistance(*camera));
  *picture = renderer.Render(settings, view, &error);
  if (!picture->bitmap) return {kRunFailed, error};
  const std::string lack = NothingSeen(m_subject->Drawn(), settings, view, *picture);
  if (!lack.empty()) Warn(shot.output + ": " + lack);
  const Stopwatch effectsWatch;
  if (!m_session.effects.Apply(m_session.driver->Driver(), m_options.effects.calls, picture,
                               &error)) {
    return {kRunFailed, error};
  }
  m_shotReport.effects = m_options.effects.calls.empty() ? 0 : effectsWatch.Milliseconds();
  m_shotReport.draw = renderer.LastTimes().draw;
  m_shotReport.readBack = renderer.LastTimes().readBack;
  m_recipe.renderer = m_report.renderer = renderer.RendererName();
  m_line.Note(fmt::format("{}: draw {:.1f} ms, read-back {:.1f} ms", m_report.renderer,
                          m_shotReport.draw, m_shotReport.readBack));
  return {};
}

Outcome ModelRender::WriteDepth(const Shot& shot, const hostkit::Picture& picture,
                                const hostkit::Recipe& recipe) {
  m_line.Enter(Phase::kWrite, shot.depth);
  hostkit::PictureOptions depthAlone;
  depthAlone.colors = depthAlone.passes = false;
  std::string error;
  if (hostkit::WritePicture(shot.depth, picture, recipe, depthAlone, &error)) return {};
  return {kUnwritableOutput, error};
}

Outcome ModelRender::Write(const Shot& shot, const hostkit::SceneCamera& camera,
                           const hostkit::Picture& picture) {
  m_line.Enter(m_options.stream.IsOpen() ? Phase::kSend : Phase::kWrite, shot.output);
  const Stopwatch watch;
  hostkit::Recipe recipe =
      MakeRecipe(m_recipe, m_options, shot, DescribeCamera(camera, m_scene->origin));
  AddIdNames(m_options, m_subject->Drawn(), &recipe);
  std::string error;
  hostkit::PictureOptions pictureOptions;
  pictureOptions.quality = m_options.jpegQuality;
  pictureOptions.exrEncoding = m_options.exrEncoding;
  const bool isDepthInside = shot.depth == shot.output;
  pictureOptions.depth = isDepthInside || m_options.passes.z;
  const bool isWritten =
      m_options.stream.IsOpen()
          ? hostkit::StreamPicture(m_options.stream, picture, recipe, pictureOptions, &error)
          : hostkit::WritePicture(shot.output, picture, recipe, pictureOptions, &error);
  if (!isWritten) return {kUnwritableOutput, error};
  if (!shot.depth.empty() && !isDepthInside) {
    Outcome outcome = WriteDepth(shot, picture, recipe);
    if (outcome.status != kDone) return outcome;
  }
  m_shotReport.write = watch.Milliseconds();
  m_line.Note(fmt::format("{}: written in {:.1f} ms", shot.output, m_shotReport.write));
  return {};
}

Outcome ModelRender::MakeShot(const Shot& shot) {
  const Stopwatch watch;
  m_shotReport = {shot.frame, shot.time, shot.cameraName, shot.output};
  hostkit::SceneCamera camera;
  hostkit::Picture picture;
  Outcome outcome = DrawShot(shot, &camera, &picture);
  if (outcome.status == kDone) outcome = Write(shot, camera, picture);
  m_shotReport.total = watch.Milliseconds();
  m_report.draw += m_shotReport.draw;
  m_report.readBack += m_shotReport.readBack;
  m_report.effects += m_shotReport.effects;
  m_report.write += m_shotReport.write;
  if (m_options.run.json) m_report.shots.push_back(m_shotReport);
  return outcome;
}

Outcome ModelRender::MakeShots() {
  const bool several = m_shots.size() > 1;
  for (std::size_t i = 0; i < m_shots.size(); ++i) {
    const Shot& shot = m_shots[i];
    if (m_options.sequence.skipExisting && IsThere(shot)) {
      m_line.Note(shot.output + ": is there");
      ++m_report.skipped;
      continue;
    }
    if (several) m_progress(i, m_shots.size(), shot.Describe(HasSeveralCameras()));
    Outcome outcome = MakeShot(shot);
    if (outcome.status != kDone) return outcome;
    // At once: whoever ends the run now is told the true number.
    if (several) m_progress(i + 1, m_shots.size(), shot.Describe(HasSeveralCameras()));
  }
  if (several) m_progress(m_shots.size(), m_shots.size(), "");
  return {};
}

Outcome ModelRender::Draw(ImportedModel model) {
  Outcome outcome = Take(std::move(model));
  if (outcome.status == kDone) outcome = Plan();
  if (outcome.status == kDone) outcome = Upload();
  if (outcome.status == kDone) outcome = MakeShots();
  return outcome;
}

RenderReport ModelRender::Report() const {
  RenderReport report = m_report;
  report.isSequence =
      m_options.sequence.IsSequence() || HasSeveralCameras() || m_options.sequence.skipExisting;
  report.models = m_options.models;
  // A picture that is named after its model is told by its own name.
  const bool isOne = m_options.IsEach() && m_shots.size() == 1;
  report.output = isOne ? m_shots.front().output : m_options.output;
  report.width = m_options.width;
  report.height = m_options.height;
  report.total = m_watch.Milliseconds();
  return report;
}

}  // namespace gl3
