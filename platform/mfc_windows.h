// Windows, device contexts, rectangles and message boxes of MFC, as far as the module uses them.
#pragma once

#include "platform/win32.h"

/// A rectangle by its edges.
class CRect : public tagRECT {
 public:
  /// Empty, at the origin.
  CRect() : tagRECT{0, 0, 0, 0} {}
  /// Left, top, right and bottom edge, in pixels as a rule.
  CRect(LONG l, LONG t, LONG r, LONG b) : tagRECT{l, t, r, b} {}
  LONG Width() const { return right - left; }   ///< Negative when edges are exchanged.
  LONG Height() const { return bottom - top; }  ///< Negative when edges are exchanged.
  /// Swaps edges so that neither width nor height is negative.
  void NormalizeRect();
};

/// A window. Where windows were asked for and an X server answers (platform::UseWindows) it is one
/// on the screen. Everywhere else it is a hidden surface of the same size, and so are always
/// windows of the style WS_POPUP, and those that lie in a hidden one.
class CWnd {
 public:
  CWnd() = default;
  CWnd(const CWnd&) = delete;
  CWnd& operator=(const CWnd&) = delete;
  /// Destroys the window when there still is one.
  virtual ~CWnd();

  /// Makes the window, of a title in UTF-8; it is shown when the style has WS_VISIBLE. `parent`,
  /// `menu` and `parameter` may be null; a window with a parent lies inside of it. Returns 0 on
  /// failure: this object has a window, no such window class, a dead parent, a size that is not
  /// positive or beyond what a pixel map describes, no memory, or the X server refused it.
  BOOL CreateEx(DWORD exStyle, const char* className, const char* title, DWORD style, int x, int y,
                int width, int height, HWND parent, void* menu, void* parameter);
  /// Takes over a window that has no object yet. Returns 0 when it has one, when the handle is
  /// dead, or when this object has a window.
  BOOL Attach(HWND window);
  /// Returns 0 when there is no window. One that was adopted stays with its maker.
  BOOL DestroyWindow();
  /// The window's handle; null when there is none.
  HWND GetSafeHwnd() const { return m_hWnd; }
  /// Client area in client coordinates; empty when there is no window.
  void GetClientRect(RECT* rect) const;
  /// Moves client coordinates to those of the screen.
  void ClientToScreen(POINT* point) const;
  /// The same for both corners.
  void ClientToScreen(RECT* rect) const;
  /// The object of the outermost window that this one lies in; null when there is no such window,
  /// or when it has no object.
  virtual CWnd* GetParentFrame() const;
  /// Gives the window a place in its parent, or on the screen, and a size of its client area, in
  /// pixels. Nothing changes when the size cannot be had, or when the window was adopted.
  void MoveWindow(int x, int y, int width, int height);
  /// The user asks for the window to be closed: destroys it.
  virtual void OnClose();

  /// The object of a window, one made for the handle when it has none; that lives as long as
  /// the window and takes no part in its end. Null for a dead handle.
  static CWnd* FromHandle(HWND window);

  /// Whether the user can use a control of a dialog; nothing happens to other windows. Returns
  /// whether it could not be used before.
  BOOL EnableWindow(BOOL enable);

  /// What the window is to remember.
  enum Flag : DWORD {
    kSettingsStored = 2,  ///< Of a settings sheet: a page of it has stored changed settings.
  };

  HWND m_hWnd = nullptr;  ///< Null without a window, also when it was closed.
  DWORD m_nFlags = 0;     ///< Flags of the above.
};

/// A device context as an object; owns nothing.
class CDC {
 public:
  /// The object of a handle, null for a null or dead one. Lives as long as the device context.
  static CDC* FromHandle(HDC dc);
  HDC m_hDC = nullptr;  ///< Its handle.
};

/// Registers a window class of a style; the name stays valid. Cursor, brush and icon may be null.
const char* AfxRegisterWndClass(DWORD style, void* cursor, void* brush, void* icon);
/// Shows a window, or hides it (SW_HIDE).
void AfxShowWindow(CWnd* window, int command);
/// The window that this one lies in, by its object or by handle; null when there is none.
CWnd* AfxGetParent(const CWnd* window);
/// The same by handle.
HWND AfxGetParent(HWND window);

/// Shows `text` in a modal box and returns the number of the button that ended it. What the box
/// looks like is up to the program (SetMessageBoxView); without its word the text goes to standard
/// error, and the answer is 1 (OK).
int AfxMessageBox(const char* text, unsigned int type, unsigned int helpContext);

/// Called for every message box on the thread that shows it; returns the button's number.
using MessageBoxView = int (*)(const char* text, unsigned int type);
/// Replaces the view, null restoring standard error. Returns the view before.
MessageBoxView SetMessageBoxView(MessageBoxView view);
