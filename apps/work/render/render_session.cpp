// OpenGL, started for a run of `gl3 render`, and what all of its pictures are drawn with.
#include "apps/work/render/render_session.h"

#include <fmt/format.h>

#include <string>

#include "apps/work/common/confine_work.h"
#include "apps/work/common/font_check.h"
#include "apps/work/common/stopwatch.h"
#include "apps/work/render/frame_setup.h"
#include "hostkit/services/registry.h"
#include "platform/platform.h"

namespace gl3 {

void Warn(const std::string& text, ParentLine& line, RenderSession* session) {
  line.Warn(text);
  session->report.warnings.push_back(text);
}

namespace {

Outcome StartDriver(const RenderOptions& options, ParentLine& line, RenderSession* session) {
  line.Enter(Phase::kStart, "OpenGL");
  const Stopwatch watch;
  ApplyDriverSettings(options);
  Outcome outcome;
  session->driver = DriverSession::Start({options.run.device, options.run.module}, &outcome);
  const std::string trouble = hostkit::RegistryError();
  if (!trouble.empty()) Warn(trouble, line, session);
  if (!session->driver) return outcome;
  const platform::DisplayReport& display = platform::DescribeDisplay();
  RenderReport& report = session->report;
  report.start = watch.Milliseconds();
  report.platform = display.platform;
  report.device = display.device;
  report.software = display.software;
  line.Note(fmt::format("{}: loaded; display {} {} ({})", session->driver->ModulePath(),
                        display.platform, display.device, display.reason));
  return {};
}

}  // namespace

hostkit::ImportLimits LimitsOfImports(const RenderOptions& options) {
  hostkit::ImportLimits limits;
  limits.processorSeconds = options.run.limits.timeoutSeconds;
  limits.memory = options.run.limits.maxMemory;
  limits.confined = options.run.confined;
  limits.showsMessages = true;  // standard error is silenced here unless the user wants all
  return limits;
}

Outcome ConfineRender(const RenderOptions& options, ParentLine& line, RenderSession* session) {
  Outcome outcome;
  if (!options.drawing.overlays.empty() || !options.background.picture.empty()) {
    session->reader = PictureReader::Start(options.run, line, &outcome);
  }
  if (outcome.status != kDone) return outcome;
  const std::string output = options.stream.IsOpen() ? "" : options.output;
  WorkFiles files = {options.models, {output, options.drawing.depth}};
  for (const OverlayOption& overlay : options.drawing.overlays) {
    files.inputs.push_back(overlay.path);
  }
  if (!options.background.picture.empty()) files.inputs.push_back(options.background.picture);
  return ConfineDrawing(files, options.run.module, options.run.confined);
}

Outcome StartSession(const RenderOptions& options, ParentLine& line, RenderSession* session) {
  Outcome outcome = StartDriver(options, line, session);
  if (outcome.status != kDone) return outcome;
  outcome = MakeFrameSettings(options, &session->settings, session->reader.get());
  session->reader.reset();  // it is needed no more
  const bool hasTexts = !options.drawing.texts.empty();
  if (outcome.status != kDone || (!hasTexts && !options.drawing.hasScaleBar)) return outcome;
  // The renderer draws on without a font, and tells it where nobody hears.
  const std::string problem = FontProblem();
  if (!problem.empty()) Warn((hasTexts ? "--text: " : "--scale-bar: ") + problem, line, session);
  return {};
}

}  // namespace gl3
