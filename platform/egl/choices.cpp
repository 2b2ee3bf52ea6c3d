// Which ways to reach OpenGL there are, and why each was or was not taken.
#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "platform/egl/device_wish.h"
#include "platform/egl/devices.h"
#include "platform/egl/display.h"
#include "platform/egl/environment.h"
#include "platform/platform.h"

namespace platform {
namespace {

/// Why a platform or device was refused when it was tried; empty when it was not.
std::string RefusalOf(const Display& display, const std::string& what) {
  const auto found = std::find_if(display.refusals.begin(), display.refusals.end(),
                                  [&](const Refusal& refusal) { return refusal.what == what; });
  return found == display.refusals.end() ? "" : found->why;
}

DisplayChoice DescribePlatform(const Display& display, const std::string& name) {
  DisplayChoice choice;
  choice.name = name;
  choice.chosen = display.report.platform == name;
  const std::string wanted = Environment("GL3_PLATFORM");
  if (choice.chosen) {
    choice.reason = display.report.reason;
  } else if (choice.reason = RefusalOf(display, name); !choice.reason.empty()) {
    return choice;
  } else if (!wanted.empty() && wanted != name) {
    choice.reason = "not tried: GL3_PLATFORM is " + wanted;
  } else if (name == "x11") {
    choice.reason = "not tried: no window was asked for";
  } else if (display.report.platform.empty()) {
    choice.reason = "not tried: " + display.report.reason;
  } else {
    choice.reason = "not tried: the " + display.report.platform + " platform came first";
  }
  return choice;
}

DisplayChoice DescribeDevice(const Display& display, const DeviceEntry& device) {
  DisplayChoice choice{device.name, device.number, device.software, false, ""};
  const std::string& platform = display.report.platform;
  const std::string wanted = Environment("GL3_DEVICE");
  const std::optional<DeviceWish> wish = ParseDeviceWish(wanted);
  if (display.device == device.number) {
    choice.chosen = true;
    choice.reason = display.report.reason;
  } else if (choice.reason = RefusalOf(display, std::to_string(device.number));
             !choice.reason.empty()) {
    return choice;
  } else if (!wish || !Fits(device, *wish)) {
    choice.reason = "not tried: GL3_DEVICE is " + wanted;
  } else if (platform.empty()) {
    choice.reason = "not tried: " + display.report.reason;
  } else if (platform != "device") {
    choice.chosen = DeviceOf(display.egl) == device.egl;
    choice.reason = choice.chosen ? "the " + platform + " platform draws on it"
                                  : "not tried: the " + platform + " platform draws on another";
  } else {
    choice.reason = "not tried: " + display.report.device + " came first";
  }
  return choice;
}

}  // namespace

std::vector<DisplayChoice> ListDisplayDevices() {
  std::vector<DisplayChoice> choices;
  for (const DeviceEntry& device : ListDevices()) {
    choices.push_back({device.name, device.number, device.software, false, ""});
  }
  return choices;
}

std::vector<DisplayChoice> DescribeChoices() {
  const Display& display = OpenDisplay();
  std::vector<DisplayChoice> choices;
  for (const char* name : {"x11", "device", "surfaceless"}) {
    choices.push_back(DescribePlatform(display, name));
  }
  for (const DeviceEntry& device : ListDevices()) {
    choices.push_back(DescribeDevice(display, device));
  }
  return choices;
}

}  // namespace platform
