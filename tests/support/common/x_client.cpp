// Another program at the X server, by plain Xlib.
#include "tests/support/common/x_client.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <optional>

namespace {

Display* g_client = nullptr;
int (*g_others)(Display*, XErrorEvent*) = nullptr;

/// The client asks after dead windows; what others do wrong ends the process, as ever.
int ForgiveClient(Display* display, XErrorEvent* event) {
  return display == g_client ? 0 : g_others(display, event);
}

}  // namespace

struct XClient::Connection {
  Display* display = XOpenDisplay(nullptr);
  std::optional<XWindowAttributes> Attributes(unsigned long window) const {
    XWindowAttributes attributes{};
    if (!XGetWindowAttributes(display, window, &attributes)) return std::nullopt;
    return attributes;
  }
};

XClient::XClient() : m_connection(new Connection) {
  g_client = m_connection->display;
  const auto before = XSetErrorHandler(ForgiveClient);
  if (before != ForgiveClient) g_others = before;
}

XClient::~XClient() {
  XCloseDisplay(m_connection->display);
  delete m_connection;
}

unsigned long XClient::MakeWindow(int width, int height, bool translucent) {
  Display* const display = m_connection->display;
  XVisualInfo info{};
  info.visual = DefaultVisual(display, 0);
  info.depth = DefaultDepth(display, 0);
  if (translucent && !XMatchVisualInfo(display, 0, 32, TrueColor, &info)) return 0;
  const Window root = DefaultRootWindow(display);
  XSetWindowAttributes attributes{};
  attributes.colormap = XCreateColormap(display, root, info.visual, AllocNone);
  const Window window = XCreateWindow(display, root, 0, 0, static_cast<unsigned>(width),
                                      static_cast<unsigned>(height), 0, info.depth, InputOutput,
                                      info.visual, CWColormap | CWBorderPixel, &attributes);
  XMapWindow(display, window);
  XSync(display, False);
  return window;
}

void XClient::Resize(unsigned long window, int width, int height) {
  XResizeWindow(m_connection->display, window, static_cast<unsigned>(width),
                static_cast<unsigned>(height));
  XSync(m_connection->display, False);
}

void XClient::Destroy(unsigned long window) {
  XDestroyWindow(m_connection->display, window);
  XSync(m_connection->display, False);
}

void XClient::AskToClose(unsigned long window) {
  Display* const display = m_connection->display;
  XEvent event{};
  event.xclient.type = ClientMessage;
  event.xclient.window = window;
  event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
  event.xclient.format = 32;
  event.xclient.data.l[0] = static_cast<long>(XInternAtom(display, "WM_DELETE_WINDOW", False));
  XSendEvent(display, window, False, NoEventMask, &event);
  XSync(display, False);
}

bool XClient::Exists(unsigned long window) {
  return m_connection->Attributes(window).has_value();
}

bool XClient::IsShown(unsigned long window) {
  const auto attributes = m_connection->Attributes(window);
  return attributes && attributes->map_state == IsViewable;
}

std::string XClient::Title(unsigned long window) {
  Display* const display = m_connection->display;
  Atom type = 0;
  int format = 0;
  unsigned long count = 0;
  unsigned long left = 0;
  unsigned char* text = nullptr;
  XGetWindowProperty(display, window, XInternAtom(display, "_NET_WM_NAME", False), 0, 64, False,
                     XInternAtom(display, "UTF8_STRING", False), &type, &format, &count, &left,
                     &text);
  const std::string title = text ? reinterpret_cast<const char*>(text) : "";
  if (text) XFree(text);
  return title;
}

std::vector<std::uint32_t> XClient::Pixels(unsigned long window, int width, int height) {
  std::vector<std::uint32_t> pixels;
  XImage* const image = XGetImage(m_connection->display, window, 0, 0, static_cast<unsigned>(width),
                                  static_cast<unsigned>(height), AllPlanes, ZPixmap);
  if (!image) return pixels;
  for (int y = 0; y < height; y++) {
    for (int x = 0; x < width; x++) {
      pixels.push_back(static_cast<std::uint32_t>(XGetPixel(image, x, y) & 0xFFFFFF));
    }
  }
  XDestroyImage(image);
  return pixels;
}
