// Which display, device and renderer the layer works with, and windows on a screen. For programs,
// not for the module.
#pragma once

#include <string>
#include <vector>

#include "platform/win32.h"

namespace platform {

/// What was chosen when the display was opened. Empty strings where nothing could be.
struct DisplayReport {
  std::string platform;   ///< "surfaceless", "x11" or "device".
  std::string device;     ///< The EGL device's name and number, for "device".
  std::string vendor;     ///< EGL vendor and version.
  std::string reason;     ///< Why this choice; the error when there is no display.
  bool software = false;  ///< Whether pixels are drawn on the processor.
};

/// Asks for windows that can be seen: the display is then that of the X server which DISPLAY names,
/// unless GL3_PLATFORM says otherwise, and off-screen as ever when no server answers. Returns false
/// when the display is open already; then nothing changes.
bool UseWindows(bool wanted);

/// Handles what the X server has told about windows since the last call: a window whose closing was
/// asked for gets CWnd::OnClose, one that someone else destroyed is closed. Does not wait. For the
/// thread that made the windows.
void PumpWindows();

/// The number of a window on the X server; 0 for a dead handle and for a hidden window.
unsigned long NativeWindow(HWND window);

/// Takes on a window that someone else made, a toolkit say, so that buffers draw into it. Its size,
/// its place and its end stay the maker's; the visual has to be that of the layer's own windows,
/// which is the screen's default one where that can be. Put the handle into a CWnd with
/// CWnd::Attach. A window that was taken on before gives the handle it has. Null on failure,
/// `reason` (may be null) then saying why.
HWND AdoptWindow(unsigned long number, std::string* reason = nullptr);

/// Opens the process's one display when it is not open yet, and describes it. The environment is
/// read then: GL3_PLATFORM (surfaceless, x11, device) and GL3_DEVICE (auto, cpu, gpu or a device
/// number; cpu means the software renderer even where there is a GPU).
const DisplayReport& DescribeDisplay();

/// A way to reach OpenGL, and what became of it.
struct DisplayChoice {
  std::string name;       ///< Of a platform, as in DisplayReport; of a device: what EGL calls it.
  int device = -1;        ///< A device's number, as GL3_DEVICE takes it; -1 for a platform.
  bool software = false;  ///< A device that draws on the processor.
  bool chosen = false;    ///< In use by the display of this process.
  std::string reason;     ///< Why it was chosen, or was not.
};

/// Every platform in the order of trying, then every device in EGL's order. Opens the display as
/// DescribeDisplay does; no further one is opened, so that what was not tried says just that.
std::vector<DisplayChoice> DescribeChoices();

/// Every device in EGL's order, without opening the display: none is chosen, and no reason given.
std::vector<DisplayChoice> ListDisplayDevices();

/// What the GL says of itself.
struct RendererReport {
  /// GL_VENDOR and so on.
  std::string vendor, renderer, version, shadingLanguage;
  int textureSize = 0;                  ///< Pixels a side.
  int viewportSize = 0;                 ///< Pixels; the smaller side.
  std::vector<std::string> extensions;  ///< In the GL's order.
};

/// Asks a context of its own on the process's display, and leaves the current one current. Empty
/// strings when there is no context to be had.
RendererReport DescribeRenderer();

/// GL_RENDERER of the current context; empty without one.
std::string CurrentRenderer();
/// GL_VERSION likewise.
std::string CurrentVersion();

/// The longest side that an off-screen surface can have, in pixels; 0 when there is no display.
int MaxPbufferSize();

/// Whether an off-screen surface can have these sides, in pixels. Memory for one so large may still
/// be missing. For sides that the system promises this costs nothing, unlike MaxPbufferSize.
bool IsPbufferSize(int width, int height);

/// Live objects of the layer, for leak checks.
struct HandleCounts {
  /// How many of each kind live.
  int contexts = 0, pbuffers = 0, windows = 0, deviceContexts = 0;
};
/// Counts them.
HandleCounts CountHandles();

}  // namespace platform
