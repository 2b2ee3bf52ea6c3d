// The display, the renderer module and its driver, started together.
#include "apps/gl3/work/driver_session.h"

#include <cstdlib>
#include <string>
#include <utility>

#include "host/GADriver.h"
#include "platform/mfc.h"
#include "platform/platform.h"

namespace gl3 {
namespace {

/// What the module showed in message boxes since the capture began.
std::string g_boxText;

int CaptureBox(const char* text, unsigned int) {
  constexpr int kOkButton = 1;
  if (!g_boxText.empty()) g_boxText += "; ";
  g_boxText += text ? text : "";
  return kOkButton;
}

/// Sends message boxes to `g_boxText` while it lives.
class BoxCapture {
 public:
  BoxCapture() : m_before(SetMessageBoxView(CaptureBox)) { g_boxText.clear(); }
  ~BoxCapture() { SetMessageBoxView(m_before); }
  BoxCapture(const BoxCapture&) = delete;
  BoxCapture& operator=(const BoxCapture&) = delete;

 private:
  MessageBoxView m_before;
};

Outcome Fail(const std::string& message) {
  return {kNoOpenGl, message};
}

/// Opens the display that the choice asks for, else the environment.
Outcome OpenDisplay(const std::string& device) {
  if (!device.empty()) setenv("GL3_DEVICE", device.c_str(), 1);
  const platform::DisplayReport& report = platform::DescribeDisplay();
  if (!report.platform.empty()) return {};
  std::string reason = report.reason.empty() ? "no display opens" : report.reason;
  const std::string variable = "GL3_DEVICE=" + device;
  if (!device.empty() && reason.compare(0, variable.size(), variable) == 0) {
    reason.replace(0, variable.size(), "--device " + device);
  } else {
    reason = "OpenGL: " + reason;
  }
  if (reason.find("; ") == std::string::npos) {
    reason += "; install libegl1 and libgl1-mesa-dri, or try another --device";
  }
  return Fail(reason);
}

}  // namespace

std::unique_ptr<DriverSession> DriverSession::Start(const DeviceChoice& choice, Outcome* outcome) {
  *outcome = OpenDisplay(choice.device);
  if (outcome->status != kDone) return nullptr;

  std::string error;
  const std::string path = choice.module.empty() ? hostkit::FindModule(&error) : choice.module;
  if (path.empty()) {
    *outcome = Fail(error);
    return nullptr;
  }
  const BoxCapture capture;
  std::unique_ptr<hostkit::LoadedModule> module = hostkit::LoadedModule::Load(path, &error);
  if (!module) {
    *outcome = Fail(error);
    return nullptr;
  }
  if (module->Driver()->Initialize() == 0) {
    const std::string reason = g_boxText.empty() ? "the driver does not start" : g_boxText;
    *outcome = Fail(path + ": " + reason + "; try --device cpu, or update the OpenGL driver");
    return nullptr;
  }
  return std::unique_ptr<DriverSession>(new DriverSession(std::move(module)));
}

DriverSession::~DriverSession() {
  Driver()->Terminate();
}

}  // namespace gl3
