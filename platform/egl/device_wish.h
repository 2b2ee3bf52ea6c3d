// The device that GL3_DEVICE asks for.
#pragma once

#include <optional>
#include <string>

#include "platform/egl/devices.h"

namespace platform {

enum class DeviceKind { kAuto, kCpu, kGpu, kNumber };

struct DeviceWish {
  DeviceKind kind = DeviceKind::kAuto;
  int number = -1;  ///< Of kNumber: the device's place in EGL's list.
};

/// Reads a value of GL3_DEVICE; an empty one means auto. Nothing for text that is none of auto,
/// cpu, gpu and a number of at most four digits.
std::optional<DeviceWish> ParseDeviceWish(const std::string& text);

/// Whether a device is one of those that are asked for.
bool Fits(const DeviceEntry& device, const DeviceWish& wish);

}  // namespace platform
