// The devices that EGL can draw on.
#include "platform/egl/devices.h"

#include <array>
#include <cstddef>

#include "platform/egl/display.h"
#include "platform/egl/entry_point.h"

namespace platform {
namespace {

const char* DeviceText(EGLDeviceEXT device, EGLint name) {
  static const auto query = EntryPoint<PFNEGLQUERYDEVICESTRINGEXTPROC>("eglQueryDeviceStringEXT");
  const char* text = query ? query(device, name) : nullptr;
  return text ? text : "";
}

std::string DeviceName(EGLDeviceEXT device) {
  const char* extensions = DeviceText(device, EGL_EXTENSIONS);
  if (IsSoftware(device)) return "software";
  std::string name;
  if (HasName(extensions, "EGL_EXT_device_query_name")) {
    name = DeviceText(device, EGL_RENDERER_EXT);
  }
  if (name.empty() && HasName(extensions, "EGL_EXT_device_drm")) {
    name = DeviceText(device, EGL_DRM_DEVICE_FILE_EXT);
  }
  return name.empty() ? "hardware" : name;
}

}  // namespace

bool IsSoftware(EGLDeviceEXT device) {
  return HasName(DeviceText(device, EGL_EXTENSIONS), "EGL_MESA_device_software");
}

EGLDeviceEXT DeviceOf(EGLDisplay display) {
  const auto query = EntryPoint<PFNEGLQUERYDISPLAYATTRIBEXTPROC>("eglQueryDisplayAttribEXT");
  EGLAttrib device = 0;
  if (!query || !query(display, EGL_DEVICE_EXT, &device)) return nullptr;
  return reinterpret_cast<EGLDeviceEXT>(device);
}

std::vector<DeviceEntry> ListDevices() {
  const auto query = EntryPoint<PFNEGLQUERYDEVICESEXTPROC>("eglQueryDevicesEXT");
  std::array<EGLDeviceEXT, 64> devices{};
  EGLint count = 0;
  if (!query || !query(static_cast<EGLint>(devices.size()), devices.data(), &count)) return {};
  std::vector<DeviceEntry> list;
  for (int i = 0; i < count; i++) {
    EGLDeviceEXT device = devices.at(static_cast<std::size_t>(i));
    list.push_back({device, i, IsSoftware(device), DeviceName(device)});
  }
  return list;
}

}  // namespace platform
