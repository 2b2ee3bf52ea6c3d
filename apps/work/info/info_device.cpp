// The part of the report of `gl3 info` that OpenGL is asked for.
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>

#include "apps/work/common/driver_session.h"
#include "apps/work/info/info_report.h"
#include "apps/work/info/test_frame.h"
#include "host/GADriver.h"
#include "hostkit/services/settings_sheet.h"
#include "platform/platform.h"

namespace gl3 {
namespace {

/// Milliseconds that the steps took.
class Steps {
 public:
  explicit Steps(const Tell& tell) : m_tell(tell) {}
  void Begin(const char* what) { m_tell(JsonLine({{"at", what}})); }
  void End(const char* name) {
    const auto now = Clock::now();
    const double passed = std::chrono::duration<double, std::milli>(now - m_start).count();
    m_times[name] = std::round(passed * 10) / 10;
    m_start = now;
  }
  void Say(const char* section, const Json& facts) { m_tell(JsonLine({{section, facts}})); }
  const Json& Times() const { return m_times; }

 private:
  using Clock = std::chrono::steady_clock;
  const Tell& m_tell;
  Clock::time_point m_start = Clock::now();
  Json m_times = Json::object();
};

Json DescribeChoice(const platform::DisplayChoice& choice) {
  Json json = {{"name", choice.name}};
  if (choice.device >= 0) {
    json["number"] = choice.device;
    json["software"] = choice.software;
  }
  json["chosen"] = choice.chosen;
  json["reason"] = choice.reason;
  return json;
}

Json DescribeDisplay() {
  const platform::DisplayReport& report = platform::DescribeDisplay();
  Json json = {{"platform", report.platform},
               {"device", report.device},
               {"egl", report.vendor},
               {"reason", report.reason}};
  if (!report.platform.empty()) json["software"] = report.software;
  json["choices"] = Json::array();
  for (const platform::DisplayChoice& choice : platform::DescribeChoices()) {
    json["choices"].push_back(DescribeChoice(choice));
  }
  return json;
}

}  // namespace

void TellDevice(const InfoOptions& options, bool all, const Tell& tell) {
  Steps steps(tell);
  steps.Begin("opening the display");
  if (!options.run.device.empty()) setenv("GL3_DEVICE", options.run.device.c_str(), 1);
  const Json display = DescribeDisplay();
  steps.Say("display", display);
  steps.End("display");

  const bool opened = !platform::DescribeDisplay().platform.empty();
  platform::RendererReport gl;
  if (opened) {
    steps.Begin("asking OpenGL");
    gl = platform::DescribeRenderer();
    steps.Say("opengl", {{"vendor", gl.vendor},
                         {"renderer", gl.renderer},
                         {"version", gl.version},
                         {"shadingLanguage", gl.shadingLanguage},
                         {"extensionCount", gl.extensions.size()}});
    steps.Say("limits", {{"textureSize", gl.textureSize},
                         {"viewportSize", gl.viewportSize},
                         {"pbufferSize", platform::MaxPbufferSize()}});
    steps.End("opengl");
  }

  steps.Begin("starting the module's driver");
  Outcome outcome;
  const auto session = DriverSession::Start({options.run.device, options.run.module}, &outcome);
  steps.End("driver");
  if (!session) return steps.Say("problem", outcome.message);
  GADriver* driver = session->Driver();
  // Asked with a context of a buffer's own current.
  const std::unique_ptr<TestSurface> surface = TestSurface::Create(driver);
  Json facts = {{"operational", driver->IsOperational() != 0},
                {"hardwareSupport", driver->IsHardwareSupport() != 0},
                {"gpuEffects", driver->IsSupportGPU() != 0},
                {"report", driver->GetDriverInfo()}};
  steps.Say("driver", facts);
  steps.End("report");
  steps.Say("milliseconds", steps.Times());
  if (all) {
    steps.Begin("reading the extended report");
    std::string error;
    const std::string report = hostkit::ExtendedReport(driver, &error);
    if (report.empty()) return steps.Say("problem", error);
    steps.Say("extendedReport", report);
    // The GL's own list: that of the driver's dialog may lack the last name.
    steps.Say("extensions", gl.extensions);
  }
}

}  // namespace gl3
