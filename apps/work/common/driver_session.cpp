// The display, the renderer module and its driver, started together.
#include "apps/work/common/driver_session.h"

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

Outcome NoOpenGl(const std::string& message) {
  return {kNoOpenGl, message};
}

void ReplaceAll(const std::string& old, const std::string& with, std::string* text) {
  for (std::size_t at = 0; (at = text->find(old, at)) != std::string::npos; at += with.size()) {
    text->replace(at, old.size(), with);
  }
}

}  // namespace

Outcome OpenDisplay(const std::string& device) {
  if (!device.empty()) setenv("GL3_DEVICE", device.c_str(), 1);
  const platform::DisplayReport& report = platform::DescribeDisplay();
  if (!report.platform.empty()) return {};
  std::string reason = report.reason.empty() ? "no display opens" : report.reason;
  // What a variable made impossible ends in what to do about it; other parts behind a semicolon
  // are what else was tried.
  const bool hasRemedy =
      reason.find("; ") != std::string::npos && reason.find("GL3_") != std::string::npos;
  if (!hasRemedy) reason += "; install libegl1 and libgl1-mesa-dri, or try another --device";
  if (!device.empty()) {  // the variable was set for the option
    ReplaceAll("GL3_DEVICE=", "--device ", &reason);
    ReplaceAll("GL3_DEVICE", "--device", &reason);
  }
  return NoOpenGl(reason.starts_with("--device ") ? reason : "OpenGL: " + reason);
}

std::unique_ptr<DriverSession> DriverSession::Start(const DeviceChoice& choice, Outcome* outcome) {
  *outcome = OpenDisplay(choice.device);
  if (outcome->status != kDone) return nullptr;

  std::string error;
  const std::string path = choice.module.empty() ? hostkit::FindModule(&error) : choice.module;
  if (path.empty()) {
    *outcome = NoOpenGl(error);
    return nullptr;
  }
  const BoxCapture capture;
  std::unique_ptr<hostkit::LoadedModule> module = hostkit::LoadedModule::Load(path, &error);
  if (!module) {
    *outcome = NoOpenGl(error);
    return nullptr;
  }
  if (module->Driver()->Initialize() == 0) {
    const std::string reason = g_boxText.empty() ? "the driver does not start" : g_boxText;
    *outcome = NoOpenGl(path + ": " + reason + "; try --device cpu, or update the OpenGL driver");
    return nullptr;
  }
  return std::unique_ptr<DriverSession>(new DriverSession(std::move(module)));
}

DriverSession::~DriverSession() {
  Driver()->Terminate();
}

}  // namespace gl3
