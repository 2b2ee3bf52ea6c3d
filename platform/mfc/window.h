// Windows: what stands behind a window handle and its port. A kind of window supplies the surface
// that contexts draw into: HiddenWindow off-screen, XWindow on an X server.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/egl/drawable.h"
#include "platform/egl/handle_table.h"
#include "platform/ports.h"
#include "platform/win32.h"

class CWnd;

namespace platform {

struct WindowPlace {
  int x = 0, y = 0;  ///< In the parent's client area, or on the screen when there is no parent.
  int width = 0, height = 0;
};

/// A window is used by one thread.
class Window : public Drawable {
 public:
  Window(const WindowPlace& place, HWND parent, CWnd* owner);
  ~Window() override;

  /// Whether a window of that size can be described by a pixel map.
  static bool IsValidSize(int width, int height);

  bool IsClosed() const override { return m_closed; }
  virtual WindowPlace Place() { return m_place; }
  /// Where its client area begins on the screen.
  virtual POINT ScreenOrigin();
  /// Moves and resizes. Contexts fit themselves to the size when they are told to. False when the
  /// size cannot be had; then nothing changes.
  virtual bool Move(const WindowPlace& place) = 0;
  virtual void Show(bool) {}
  /// Returns whether the user could not use it before.
  virtual bool Enable(bool) { return false; }
  /// Answers a message; 0 for one that means nothing to the window.
  virtual std::intptr_t Message(DWORD /*message*/, WPARAM /*wParam*/, LPARAM /*lParam*/) {
    return 0;
  }
  /// Brings everything drawn so far to the screen.
  virtual void Flush() {}
  /// Its number on the X server, 0 for a window that has none.
  virtual unsigned long NativeWindow() const { return 0; }

  HWND Handle() const { return m_handle; }
  HWND Parent() const { return m_parent; }  ///< Null for none.
  CWnd* Owner() const { return m_owner; }   ///< The object that made it or took it on, or null.
  void SetOwner(CWnd* owner) { m_owner = owner; }
  /// The owner, or for a window without one an object of its own.
  CWnd* Object();
  CGrafPtr Port() const { return m_port; }
  PixMapHandle Pixels() { return &m_pixMapPointer; }
  void AddDeviceContext(HDC dc) { m_deviceContexts.push_back(dc); }
  void ForgetDeviceContext(HDC dc) { std::erase(m_deviceContexts, dc); }

  /// Gives the window its handles. False when there are no more.
  static bool Register(const std::shared_ptr<Window>& window);
  /// Ends a window with its port, device contexts and the windows inside. False for a dead handle.
  static bool Close(HWND window);

 protected:
  /// Makes the pixel map describe rows of `width` pixels; the size must be valid.
  void SetPixMapSize(int width, int height);

  WindowPlace m_place;
  PixMap m_pixMap{};

 private:
  /// Ends what stands behind the window, such as that on the server; called once, when it ends.
  virtual void Release() {}

  HWND m_parent;
  CWnd* m_owner;
  std::unique_ptr<CWnd> m_object;  // for those who ask while there is no owner
  HWND m_handle = nullptr;
  CGrafPtr m_port = nullptr;
  PixMap* m_pixMapPointer = &m_pixMap;
  std::vector<HDC> m_deviceContexts;
  bool m_closed = false;
};

/// Live windows, by window handle and by port.
HandleTable<Window, HandleKind::kWindow>& Windows();
HandleTable<Window, HandleKind::kPort>& Ports();

}  // namespace platform
