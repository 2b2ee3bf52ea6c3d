// An X server without a screen, for programs that need windows where nobody looks.
#pragma once

#include <sys/types.h>

#include <string>

namespace gl3 {

/// Xvfb with one screen of 24 bits, without a window manager; it ends with this object, or with the
/// thread that started it.
class XServer {
 public:
  XServer() = default;
  XServer(const XServer&) = delete;
  XServer& operator=(const XServer&) = delete;
  ~XServer() { Stop(); }

  /// Returns its name for DISPLAY, empty when there is no Xvfb or it does not start. The screen's
  /// size is in pixels.
  std::string Start(int width = 800, int height = 600);
  void Stop();

 private:
  pid_t m_process = 0;
};

}  // namespace gl3
