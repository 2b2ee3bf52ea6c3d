// A window on an X server: made here, or by someone else and adopted.
#pragma once

#include <memory>
#include <string>

#include "platform/mfc/window.h"

namespace platform {

/// What a new window shows, beside its place.
struct WindowLook {
  const char* title = "";  ///< UTF-8; windows inside others show none.
  bool visible = false;
};

/// The server knows best where a window is and how large: it is asked each time. All contexts that
/// draw into windows have one config, since EGL gives a window one surface. A window that someone
/// else destroys is closed here when that is noticed.
class XWindow : public Window {
 public:
  /// Whether this process makes windows on a screen.
  static bool CanMake();
  /// Makes a window, inside `parent` unless that is null. Null on failure.
  static std::shared_ptr<XWindow> Make(const WindowPlace& place, const WindowLook& look,
                                       const std::shared_ptr<Window>& parent, CWnd* owner);
  /// Takes on the window of that number; its place and its end stay with whoever made it. Null on
  /// failure, `reason` then saying why.
  static std::shared_ptr<XWindow> Adopt(unsigned long number, std::string& reason);
  /// The live window of that number, null for none.
  static std::shared_ptr<XWindow> Find(unsigned long number);

  XWindow(unsigned long number, bool adopted, const WindowPlace& place, HWND parent, CWnd* owner);
  ~XWindow() override;

  /// Learns place and size of now. False when the window is gone; it is closed then.
  bool Lives();

  EGLSurface SurfaceFor(EGLConfig config) override;
  EGLSurface Refit(EGLConfig config) override;
  EGLint Present() override;
  WindowPlace Place() override;
  POINT ScreenOrigin() override;
  bool Move(const WindowPlace& place) override;
  void Show(bool visible) override;
  void Flush() override;
  unsigned long NativeWindow() const override { return m_number; }

 private:
  void Release() override;
  void SetSize(int width, int height);

  unsigned long m_number;
  bool m_adopted;
  bool m_gone = false;
  EGLSurface m_surface = EGL_NO_SURFACE;
};

}  // namespace platform
