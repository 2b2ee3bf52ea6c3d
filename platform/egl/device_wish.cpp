// The device that GL3_DEVICE asks for.
#include "platform/egl/device_wish.h"

#include <cstdlib>

namespace platform {

std::optional<DeviceWish> ParseDeviceWish(const std::string& text) {
  if (text.empty() || text == "auto") return DeviceWish{};
  if (text == "cpu") return DeviceWish{DeviceKind::kCpu};
  if (text == "gpu") return DeviceWish{DeviceKind::kGpu};
  if (text.size() > 4 || text.find_first_not_of("0123456789") != std::string::npos) {
    return std::nullopt;
  }
  return DeviceWish{DeviceKind::kNumber, std::atoi(text.c_str())};
}

bool Fits(const DeviceEntry& device, const DeviceWish& wish) {
  switch (wish.kind) {
    case DeviceKind::kCpu:
      return device.software;
    case DeviceKind::kGpu:
      return !device.software;
    case DeviceKind::kNumber:
      return device.number == wish.number;
    case DeviceKind::kAuto:
      break;
  }
  return true;
}

}  // namespace platform
