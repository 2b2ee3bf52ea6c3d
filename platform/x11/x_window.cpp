// Windows on an X server, and the events that they get.
#include "platform/x11/x_window.h"

#include <EGL/eglext.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <cstdint>
#include <cstring>
#include <iterator>
#include <optional>

#include "platform/egl/context.h"
#include "platform/egl/display.h"
#include "platform/egl/entry_point.h"
#include "platform/mfc.h"
#include "platform/platform.h"
#include "platform/x11/server.h"

namespace platform {
namespace {

constexpr long kEvents = StructureNotifyMask;

struct WindowVisual {
  Visual* visual = nullptr;
  VisualID id = 0;
  int depth = 0;
  Colormap colormap = 0;
};

/// What windows must have so that contexts can draw into them; it stays the same.
const WindowVisual& VisualOfWindows() {
  static const WindowVisual visual = [] {
    EGLint id = 0;
    eglGetConfigAttrib(OpenDisplay().egl, OpenDisplay().windowConfig, EGL_NATIVE_VISUAL_ID, &id);
    XVisualInfo wish{};
    wish.visualid = static_cast<VisualID>(id);
    int count = 0;
    XVisualInfo* found = XGetVisualInfo(XServer(), VisualIDMask, &wish, &count);
    WindowVisual made;
    if (found && count > 0) {
      made = {found->visual, found->visualid, found->depth, 0};
      made.colormap =
          XCreateColormap(XServer(), DefaultRootWindow(XServer()), made.visual, AllocNone);
    }
    if (found) XFree(found);
    return made;
  }();
  return visual;
}

/// Names that window managers and windows talk in.
struct Atoms {
  Atom title, utf8, protocols, closing;
};

const Atoms& WindowAtoms() {
  static const Atoms atoms = [] {
    const char* const names[] = {"_NET_WM_NAME", "UTF8_STRING", "WM_PROTOCOLS", "WM_DELETE_WINDOW"};
    Atom found[std::size(names)]{};
    XInternAtoms(XServer(), const_cast<char**>(names), std::size(names), False, found);
    return Atoms{found[0], found[1], found[2], found[3]};
  }();
  return atoms;
}

/// What window managers read: the title, the place that was asked for, and that closing asks first.
void Introduce(::Window window, const char* title) {
  ::Display* const server = XServer();
  XStoreName(server, window, title);
  XChangeProperty(server, window, WindowAtoms().title, WindowAtoms().utf8, 8, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(title),
                  static_cast<int>(std::strlen(title)));
  XSizeHints hints{};
  hints.flags = USPosition | USSize;
  XSetWMNormalHints(server, window, &hints);
  Atom closing = WindowAtoms().closing;
  XSetWMProtocols(server, window, &closing, 1);
}

std::optional<XWindowAttributes> AttributesOf(unsigned long number) {
  XWindowAttributes attributes{};
  if (!XGetWindowAttributes(XServer(), number, &attributes)) return std::nullopt;
  return attributes;
}

EGLSurface MakeWindowSurface(unsigned long number) {
  static const auto make =
      EntryPoint<PFNEGLCREATEPLATFORMWINDOWSURFACEEXTPROC>("eglCreatePlatformWindowSurfaceEXT");
  const Display& display = OpenDisplay();
  return make ? make(display.egl, display.windowConfig, &number, nullptr) : EGL_NO_SURFACE;
}

}  // namespace

bool XWindow::CanMake() {
  return OpenDisplay().windowConfig != nullptr && VisualOfWindows().visual != nullptr;
}

XWindow::XWindow(unsigned long number, bool adopted, const WindowPlace& place, HWND parent,
                 CWnd* owner)
    : Window(place, parent, owner), m_number(number), m_adopted(adopted) {
  SetSize(place.width, place.height);
}

XWindow::~XWindow() {
  if (!IsClosed()) Release();
}

std::shared_ptr<XWindow> XWindow::Make(const WindowPlace& place, const WindowLook& look,
                                       const std::shared_ptr<Window>& parent, CWnd* owner) {
  ::Display* const server = XServer();
  const WindowVisual& visual = VisualOfWindows();
  const XRequests requests(server);
  XSetWindowAttributes attributes{};
  attributes.colormap = visual.colormap;
  attributes.event_mask = kEvents;
  attributes.bit_gravity = NorthWestGravity;  // what is shown stays while the size changes
  const ::Window outer = parent ? parent->NativeWindow() : DefaultRootWindow(server);
  // Without a background, so that the server paints nothing between two frames; a border colour is
  // needed where the visual is not the parent's.
  const ::Window number = XCreateWindow(
      server, outer, place.x, place.y, static_cast<unsigned>(place.width),
      static_cast<unsigned>(place.height), 0, visual.depth, InputOutput, visual.visual,
      CWColormap | CWBorderPixel | CWEventMask | CWBitGravity, &attributes);
  if (requests.Refused()) return nullptr;
  if (!parent) Introduce(number, look.title ? look.title : "");
  auto window =
      std::make_shared<XWindow>(number, false, place, parent ? parent->Handle() : nullptr, owner);
  if (look.visible) window->Show(true);
  return window;
}

std::shared_ptr<XWindow> XWindow::Adopt(unsigned long number, std::string& reason) {
  const std::optional<XWindowAttributes> attributes = AttributesOf(number);
  if (!attributes || attributes->c_class != InputOutput) {
    reason = "the X server has no such window to draw into";
    return nullptr;
  }
  const VisualID visual = XVisualIDFromVisual(attributes->visual);
  if (visual != VisualOfWindows().id) {
    reason = "its visual is " + std::to_string(visual) + "; make it with " +
             std::to_string(VisualOfWindows().id);
    return nullptr;
  }
  if (!IsValidSize(attributes->width, attributes->height)) {
    reason = "it is " + std::to_string(attributes->width) + " pixels wide; make it smaller";
    return nullptr;
  }
  const WindowPlace place{attributes->x, attributes->y, attributes->width, attributes->height};
  auto window = std::make_shared<XWindow>(number, true, place, nullptr, nullptr);
  if (window->SurfaceFor(OpenDisplay().windowConfig) == EGL_NO_SURFACE) {
    reason = "EGL cannot draw into it (" + EglErrorName(eglGetError()) + ")";
    return nullptr;
  }
  // Other programs' masks, and the maker's own, are not touched by this one.
  XSelectInput(XServer(), number, kEvents);
  return window;
}

std::shared_ptr<XWindow> XWindow::Find(unsigned long number) {
  for (const std::shared_ptr<Window>& window : Windows().All()) {
    if (window->NativeWindow() == number) return std::dynamic_pointer_cast<XWindow>(window);
  }
  return nullptr;
}

void XWindow::SetSize(int width, int height) {
  m_place.width = width;
  m_place.height = height;
  SetPixMapSize(width, height);
}

bool XWindow::Lives() {
  if (IsClosed()) return false;
  const std::optional<XWindowAttributes> attributes = AttributesOf(m_number);
  if (!attributes) {
    m_gone = true;
    Close(Handle());
    return false;
  }
  if (IsValidSize(attributes->width, attributes->height)) {
    SetSize(attributes->width, attributes->height);
  }
  m_place.x = attributes->x;
  m_place.y = attributes->y;
  return true;
}

EGLSurface XWindow::SurfaceFor(EGLConfig config) {
  if (IsClosed() || config != OpenDisplay().windowConfig) return EGL_NO_SURFACE;
  if (m_surface == EGL_NO_SURFACE) m_surface = MakeWindowSurface(m_number);
  return m_surface;
}

EGLSurface XWindow::Refit(EGLConfig config) {
  // The surface follows the window by itself.
  return Lives() ? SurfaceFor(config) : EGL_NO_SURFACE;
}

EGLint XWindow::Present() {
  XEvent event;
  if (XCheckTypedWindowEvent(XServer(), m_number, DestroyNotify, &event)) {
    m_gone = true;
    Close(Handle());
    return EGL_BAD_NATIVE_WINDOW;
  }
  const EGLint error = eglSwapBuffers(OpenDisplay().egl, m_surface) ? EGL_SUCCESS : eglGetError();
  XFlush(XServer());
  return error;
}

WindowPlace XWindow::Place() {
  if (Lives() && !Parent()) {
    // A window manager puts a frame of its own around the window.
    const POINT origin = ScreenOrigin();
    m_place.x = origin.x;
    m_place.y = origin.y;
  }
  return m_place;
}

POINT XWindow::ScreenOrigin() {
  ::Window child = 0;
  int x = 0;
  int y = 0;
  XTranslateCoordinates(XServer(), m_number, DefaultRootWindow(XServer()), 0, 0, &x, &y, &child);
  return {x, y};
}

bool XWindow::Move(const WindowPlace& place) {
  if (m_adopted || !IsValidSize(place.width, place.height) || !Lives()) return false;
  XMoveResizeWindow(XServer(), m_number, place.x, place.y, static_cast<unsigned>(place.width),
                    static_cast<unsigned>(place.height));
  XSync(XServer(), False);
  return true;
}

void XWindow::Show(bool visible) {
  if (visible) {
    XMapWindow(XServer(), m_number);
  } else {
    XUnmapWindow(XServer(), m_number);
  }
  XSync(XServer(), False);
}

void XWindow::Flush() {
  XSync(XServer(), False);
}

void XWindow::Release() {
  if (m_surface != EGL_NO_SURFACE) {
    LeaveSurface(m_surface);
    eglDestroySurface(OpenDisplay().egl, m_surface);
    m_surface = EGL_NO_SURFACE;
  }
  if (m_adopted && !m_gone) XSelectInput(XServer(), m_number, NoEventMask);
  if (!m_adopted && !m_gone) XDestroyWindow(XServer(), m_number);
  // As Move and Show: done when this returns, also for programs with connections of their own.
  XSync(XServer(), False);
}

void PumpWindows() {
  ::Display* const server = XServer();
  while (server && XPending(server) > 0) {
    XEvent event;
    XNextEvent(server, &event);
    const std::shared_ptr<XWindow> window = XWindow::Find(event.xany.window);
    if (!window) continue;
    if (event.type == DestroyNotify) window->Lives();
    const bool closing = event.type == ClientMessage &&
                         event.xclient.message_type == WindowAtoms().protocols &&
                         static_cast<Atom>(event.xclient.data.l[0]) == WindowAtoms().closing;
    if (!closing) continue;
    if (window->Owner()) {
      window->Owner()->OnClose();
    } else {
      Window::Close(window->Handle());
    }
  }
}

unsigned long NativeWindow(HWND window) {
  const std::shared_ptr<Window> found = Windows().Get(window);
  return found ? found->NativeWindow() : 0;
}

HWND AdoptWindow(unsigned long number, std::string* reason) {
  std::string problem;
  std::shared_ptr<Window> window;
  if (!XWindow::CanMake()) {
    problem = "there are no windows on a screen: " + DescribeDisplay().reason;
  } else if (const auto known = XWindow::Find(number)) {
    return known->Handle();
  } else {
    window = XWindow::Adopt(number, problem);
    if (window && !Window::Register(window)) problem = "there are too many windows";
  }
  if (problem.empty()) return window->Handle();
  if (reason) *reason = "window " + std::to_string(number) + " cannot be drawn into: " + problem;
  return nullptr;
}

}  // namespace platform
