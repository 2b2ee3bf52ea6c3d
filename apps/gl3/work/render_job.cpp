// The work of `gl3 render`, from model files to a picture file.
#include "apps/gl3/work/render_job.h"

#include <fmt/format.h>

#include <chrono>
#include <memory>
#include <utility>

#include "apps/gl3/work/driver_session.h"
#include "apps/gl3/work/frame_setup.h"
#include "apps/gl3/work/render_camera.h"
#include "apps/gl3/work/render_recipe.h"
#include "apps/gl3/work/render_report.h"
#include "hostkit/scene/camera.h"
#include "hostkit/scene/frame_renderer.h"
#include "hostkit/scene/model_import.h"
#include "hostkit/scene/picture.h"
#include "hostkit/services/registry.h"
#include "platform/platform.h"

namespace gl3 {
namespace {

class Stopwatch {
 public:
  double Milliseconds() const {
    return std::chrono::duration<double, std::milli>(Clock::now() - m_start).count();
  }

 private:
  using Clock = std::chrono::steady_clock;
  Clock::time_point m_start = Clock::now();
};

/// One run with what its steps share.
class RenderRun {
 public:
  RenderRun(const RenderOptions& options, const std::string& command, ParentLine& line)
      : m_options(options), m_command(command), m_line(line) {}

  Outcome Run(std::string* result);

 private:
  Outcome StartDriver();
  Outcome ImportAll();
  Outcome Draw();
  Outcome Write();
  void Warn(const std::string& text);

  const RenderOptions& m_options;
  const std::string& m_command;
  ParentLine& m_line;
  RenderReport m_report;
  std::unique_ptr<DriverSession> m_session;
  std::unique_ptr<hostkit::Scene> m_scene;
  hostkit::SceneCamera m_camera;
  hostkit::Picture m_picture;
};

void RenderRun::Warn(const std::string& text) {
  m_line.Warn(text);
  m_report.warnings.push_back(text);
}

Outcome RenderRun::StartDriver() {
  m_line.Enter(Phase::kStart, "OpenGL");
  const Stopwatch watch;
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

Outcome RenderRun::ImportAll() {
  const Stopwatch watch;
  for (const std::string& path : m_options.models) {
    m_line.Enter(Phase::kImport, path);
    std::string error;
    std::unique_ptr<hostkit::Scene> scene = hostkit::ImportModel(path, &error);
    if (!scene) return {kUnreadableInput, error};
    for (const std::string& warning : scene->warnings) Warn(warning);
    if (m_scene) {
      hostkit::AppendScene(*m_scene, std::move(*scene));
    } else {
      m_scene = std::move(scene);
    }
  }
  m_report.import = watch.Milliseconds();
  m_report.triangles = m_scene->TriangleCount();
  m_line.Note(fmt::format("{} triangles in {:.1f} ms", m_report.triangles, m_report.import));
  return {};
}

Outcome RenderRun::Draw() {
  m_line.Enter(Phase::kDraw, "OpenGL");
  std::string error;
  const auto renderer = hostkit::FrameRenderer::Create(m_session->Driver(), *m_scene, &error);
  if (!renderer) return {kRunFailed, error};
  const hostkit::FrameSettings settings = MakeFrameSettings(m_options);
  const hostkit::View view = hostkit::ViewFor(m_camera, m_scene->Bounds());
  m_picture = renderer->Render(settings, view, &error);
  if (!m_picture.bitmap) return {kRunFailed, error};
  m_report.upload = renderer->UploadMilliseconds();
  m_report.draw = renderer->LastTimes().draw;
  m_report.readBack = renderer->LastTimes().readBack;
  m_report.renderer = renderer->RendererName();
  m_line.Note(fmt::format("{}: upload {:.1f} ms, draw {:.1f} ms, read-back {:.1f} ms",
                          m_report.renderer, m_report.upload, m_report.draw, m_report.readBack));
  return {};
}

Outcome RenderRun::Write() {
  m_line.Enter(Phase::kWrite, m_options.output);
  const Stopwatch watch;
  const hostkit::Recipe recipe =
      MakeRecipe(m_options, m_command, m_report.renderer, DescribeCamera(m_camera));
  std::string error;
  if (!hostkit::WritePicture(m_options.output, m_picture, recipe, {m_options.jpegQuality},
                             &error)) {
    return {kUnwritableOutput, error};
  }
  m_report.write = watch.Milliseconds();
  m_line.Note(fmt::format("{}: written in {:.1f} ms", m_options.output, m_report.write));
  return {};
}

Outcome RenderRun::Run(std::string* result) {
  const Stopwatch watch;
  // The driver first: without it, nobody waits for the import of a large model.
  Outcome outcome = StartDriver();
  if (outcome.status == kDone) outcome = ImportAll();
  if (outcome.status == kDone) outcome = ChooseCamera(m_options, *m_scene, &m_camera);
  if (outcome.status == kDone) outcome = Draw();
  if (outcome.status == kDone) outcome = Write();
  if (outcome.status != kDone || !m_options.run.json) return outcome;
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
