// The devices that EGL can draw on.
#pragma once

#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <string>
#include <vector>

namespace platform {

struct DeviceEntry {
  EGLDeviceEXT egl;
  int number;        ///< Its place in EGL's list, from 0.
  bool software;     ///< Draws on the processor.
  std::string name;  ///< "software", else the renderer's name or the device's file.
};

/// EGL's list, in its order; empty when EGL cannot tell. No display is opened.
std::vector<DeviceEntry> ListDevices();

/// The device that an open display draws on; null when EGL cannot tell.
EGLDeviceEXT DeviceOf(EGLDisplay display);
bool IsSoftware(EGLDeviceEXT device);

}  // namespace platform
