// Choice of the EGL platform and device, after GL3_PLATFORM and GL3_DEVICE.
#include "platform/egl/display.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/egl/device_wish.h"
#include "platform/egl/devices.h"
#include "platform/egl/entry_point.h"
#include "platform/egl/environment.h"
#include "platform/egl/pixel_format.h"
#include "platform/x11/server.h"

namespace platform {
namespace {

std::atomic<bool> g_windowsWanted = false;
std::atomic<bool> g_opened = false;

/// Remembers why a platform or device was not taken; `problem` is empty when it was. Returns it.
std::string NoteRefusal(Display& display, const std::string& what, std::string problem) {
  if (!problem.empty()) display.refusals.push_back({what, problem});
  return problem;
}

/// Closes a display that turned out not to fit.
void Close(Display& display) {
  eglTerminate(display.egl);
  Display closed;
  closed.refusals = std::move(display.refusals);
  display = std::move(closed);
}

/// Initialises a display and sees that desktop OpenGL and pbuffers are there. Returns why not,
/// empty for success; then `display` is filled in.
std::string StartDisplay(EGLDisplay egl, const char* platformName, Display& display) {
  if (egl == EGL_NO_DISPLAY) return "no display (" + EglErrorName(eglGetError()) + ")";
  if (!eglInitialize(egl, nullptr, nullptr)) {
    return "does not start (" + EglErrorName(eglGetError()) + ")";
  }
  if (!eglBindAPI(EGL_OPENGL_API) || !HasPbufferConfig(egl)) {
    eglTerminate(egl);
    return "has no desktop OpenGL with off-screen surfaces";
  }
  display.egl = egl;
  const char* extensions = eglQueryString(egl, EGL_EXTENSIONS);
  display.surfacelessContexts = HasName(extensions, "EGL_KHR_surfaceless_context");
  display.report.platform = platformName;
  display.report.vendor =
      std::string(eglQueryString(egl, EGL_VENDOR)) + ", " + eglQueryString(egl, EGL_VERSION);
  return "";
}

EGLDisplay PlatformDisplay(EGLenum name, void* native) {
  const auto get = EntryPoint<PFNEGLGETPLATFORMDISPLAYEXTPROC>("eglGetPlatformDisplayEXT");
  return get ? get(name, native, nullptr) : EGL_NO_DISPLAY;
}

std::string NoSuchDevice(const std::vector<DeviceEntry>& devices, const DeviceWish& wish) {
  switch (wish.kind) {
    case DeviceKind::kGpu:
      return "GL3_DEVICE=gpu: no graphics processor here; set GL3_DEVICE to auto or cpu";
    case DeviceKind::kCpu:
      return "GL3_DEVICE=cpu: EGL lists no software device";
    default:
      break;
  }
  if (devices.empty()) return "EGL lists no devices";
  return "GL3_DEVICE=" + std::to_string(wish.number) + ": there is no such device; 0 to " +
         std::to_string(devices.size() - 1) + " are there";
}

/// Devices of EGL's own list: the hardware ones first, in the list's order.
std::string TryDevices(const DeviceWish& wish, Display& display) {
  const char* client = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
  if (!HasName(client, "EGL_EXT_platform_device")) return "EGL has no device platform";
  const std::vector<DeviceEntry> devices = ListDevices();
  std::string skipped;
  for (const bool software : {false, true}) {
    for (const DeviceEntry& device : devices) {
      if (device.software != software || !Fits(device, wish)) continue;
      const std::string label = device.name + " (device " + std::to_string(device.number) + ")";
      const std::string problem =
          StartDisplay(PlatformDisplay(EGL_PLATFORM_DEVICE_EXT, device.egl), "device", display);
      if (problem.empty()) {
        display.device = device.number;
        display.report.device = label;
        display.report.software = software;
        display.report.reason = skipped + "chose " + label;
        return "";
      }
      NoteRefusal(display, std::to_string(device.number), problem);
      skipped += "skipped " + label + ": " + problem + "; ";
    }
  }
  if (skipped.empty()) return NoSuchDevice(devices, wish);
  return skipped + "no other device fits";
}

/// A platform whose driver chooses the device by itself.
std::string TryPlatform(EGLenum name, const char* text, const char* extension,
                        const DeviceWish& wish, Display& display, void* native) {
  if (!HasName(eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS), extension)) {
    return std::string("EGL has no ") + text + " platform";
  }
  if (wish.kind == DeviceKind::kNumber) {
    return std::string("the ") + text +
           " platform takes no device number; set GL3_DEVICE to auto, cpu or gpu, or leave "
           "GL3_PLATFORM out";
  }
  // Mesa reads this when the display starts.
  if (wish.kind == DeviceKind::kCpu) setenv("LIBGL_ALWAYS_SOFTWARE", "1", 1);
  const std::string problem = StartDisplay(PlatformDisplay(name, native), text, display);
  if (!problem.empty()) return std::string("the ") + text + " platform " + problem;
  EGLDeviceEXT const device = DeviceOf(display.egl);
  display.report.software = device && IsSoftware(device);
  const bool software = display.report.software;
  if ((wish.kind == DeviceKind::kGpu && software) || (wish.kind == DeviceKind::kCpu && !software)) {
    Close(display);
    return std::string("GL3_DEVICE=") + (software ? "gpu" : "cpu") + ": the " + text +
           " platform draws on the " + (software ? "processor" : "graphics processor") +
           " here; set GL3_DEVICE to auto, or leave GL3_PLATFORM out";
  }
  display.report.reason = std::string("chose the ") + text + " platform";
  return "";
}

std::string TrySurfaceless(const DeviceWish& wish, Display& display) {
  return TryPlatform(EGL_PLATFORM_SURFACELESS_MESA, "surfaceless", "EGL_MESA_platform_surfaceless",
                     wish, display, nullptr);
}

/// The one platform with windows that can be seen.
std::string TryWindows(const DeviceWish& wish, Display& display) {
  std::string problem;
  XConnection* const server = OpenXServer(problem);
  if (!server) return problem;
  problem = TryPlatform(EGL_PLATFORM_X11_EXT, "x11", "EGL_EXT_platform_x11", wish, display, server);
  if (problem.empty()) {
    display.windowConfig = ChooseWindowConfig(display.egl, DefaultVisualId(server));
    if (display.windowConfig) return "";
    problem = "the x11 platform has no desktop OpenGL for windows";
    Close(display);
  }
  CloseXServer();
  return problem + "; DISPLAY is " + Environment("DISPLAY");
}

std::string TryX11(const DeviceWish& wish, Display& display) {
  const std::string problem = TryWindows(wish, display);
  if (problem.empty()) return "";
  return "GL3_PLATFORM=x11: " + problem + "; leave GL3_PLATFORM out to draw off-screen";
}

std::string TryOffScreen(const DeviceWish& wish, Display& display) {
  const std::string device = NoteRefusal(display, "device", TryDevices(wish, display));
  if (device.empty()) return "";
  const std::string surfaceless =
      NoteRefusal(display, "surfaceless", TrySurfaceless(wish, display));
  if (!surfaceless.empty()) {
    return wish.kind == DeviceKind::kAuto ? device + "; " + surfaceless : device;
  }
  display.report.reason = device + "; " + display.report.reason;
  return "";
}

std::string TryInTurn(const DeviceWish& wish, Display& display) {
  if (!g_windowsWanted) return TryOffScreen(wish, display);
  const std::string windows = NoteRefusal(display, "x11", TryWindows(wish, display));
  if (windows.empty()) return "";
  const std::string problem = TryOffScreen(wish, display);
  if (!problem.empty()) return windows + "; " + problem;
  display.report.reason = windows + "; " + display.report.reason;
  return "";
}

using Attempt = std::string (*)(const DeviceWish&, Display&);
constexpr struct {
  std::string_view name;
  Attempt attempt;
} kPlatforms[] = {
    {"", TryInTurn}, {"device", TryDevices}, {"surfaceless", TrySurfaceless}, {"x11", TryX11}};

Display ChooseDisplay() {
  g_opened = true;
  Display display;
  const std::string device = Environment("GL3_DEVICE");
  const std::optional<DeviceWish> wish = ParseDeviceWish(device);
  if (!wish) {
    display.report.reason =
        "GL3_DEVICE=" + device + " is not auto, cpu, gpu or a device number; correct or unset it";
    return display;
  }
  const std::string wanted = Environment("GL3_PLATFORM");
  for (const auto& platform : kPlatforms) {
    if (platform.name != wanted) continue;
    const std::string problem = platform.attempt(*wish, display);
    if (!wanted.empty()) NoteRefusal(display, wanted, problem);
    if (!problem.empty()) display.report.reason = problem;
    return display;
  }
  display.report.reason =
      "GL3_PLATFORM=" + wanted + " is not device, surfaceless or x11; correct or unset it";
  return display;
}

}  // namespace

bool HasName(const char* list, const char* name) {
  if (!list) return false;
  const std::size_t length = std::strlen(name);
  for (const char* at = std::strstr(list, name); at; at = std::strstr(at + length, name)) {
    const bool starts = at == list || at[-1] == ' ';
    if (starts && (at[length] == ' ' || at[length] == '\0')) return true;
  }
  return false;
}

std::string EglErrorName(EGLint error) {
  constexpr const char* kNames[] = {
      "EGL_SUCCESS",       "EGL_NOT_INITIALIZED",     "EGL_BAD_ACCESS",
      "EGL_BAD_ALLOC",     "EGL_BAD_ATTRIBUTE",       "EGL_BAD_CONFIG",
      "EGL_BAD_CONTEXT",   "EGL_BAD_CURRENT_SURFACE", "EGL_BAD_DISPLAY",
      "EGL_BAD_MATCH",     "EGL_BAD_NATIVE_PIXMAP",   "EGL_BAD_NATIVE_WINDOW",
      "EGL_BAD_PARAMETER", "EGL_BAD_SURFACE",         "EGL_CONTEXT_LOST"};
  const EGLint index = error - EGL_SUCCESS;
  if (index >= 0 && index < static_cast<EGLint>(std::size(kNames))) return kNames[index];
  return "EGL error " + std::to_string(error);
}

const Display& OpenDisplay() {
  // Never destroyed: other static objects may still use the display while the process ends.
  static const Display* const display = new Display(ChooseDisplay());
  return *display;
}

bool UseWindows(bool wanted) {
  if (g_opened) return false;
  g_windowsWanted = wanted;
  return true;
}

const DisplayReport& DescribeDisplay() {
  return OpenDisplay().report;
}

}  // namespace platform
