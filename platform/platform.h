// Which display, device and renderer the layer works with. For programs, not for the module.
#pragma once

#include <string>

namespace platform {

/// What was chosen when the display was opened. Empty strings where nothing could be.
struct DisplayReport {
  std::string platform;   ///< "surfaceless", "x11" or "device".
  std::string device;     ///< The EGL device's name and number, for "device".
  std::string vendor;     ///< EGL vendor and version.
  std::string reason;     ///< Why this choice; the error when there is no display.
  bool software = false;  ///< Whether pixels are drawn on the processor.
};

/// Opens the process's one display when it is not open yet, and describes it. The environment is
/// read then: GL3_PLATFORM (surfaceless, x11, device) and GL3_DEVICE (auto, cpu, gpu or a device
/// number; cpu means the software renderer even where there is a GPU).
const DisplayReport& DescribeDisplay();

/// GL_RENDERER and GL_VERSION of the current context; empty without one.
std::string CurrentRenderer();
std::string CurrentVersion();

/// Largest off-screen surface, in pixels a side; 0 when there is no display.
int MaxPbufferSize();

/// Live objects of the layer, for leak checks.
struct HandleCounts {
  int contexts = 0, pbuffers = 0, windows = 0, deviceContexts = 0;
};
HandleCounts CountHandles();

}  // namespace platform
