// The window of a process without a screen: an off-screen surface, and memory for what it shows.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/mfc/window.h"

namespace platform {

class HiddenWindow : public Window {
 public:
  /// The size must be valid.
  HiddenWindow(const WindowPlace& place, HWND parent, CWnd* owner);

  EGLSurface SurfaceFor(EGLConfig config) override;
  EGLSurface Refit(EGLConfig config) override;
  /// Reads the current context's frame into the pixel map: top row first, and as much of it as both
  /// have. The context's state stays as it is.
  EGLint Present() override;
  bool Move(const WindowPlace& place) override;

 private:
  void ResizeTo(const WindowPlace& place);

  PbufferSurfaces m_surfaces;
  std::vector<std::uint32_t> m_pixels;
};

}  // namespace platform
