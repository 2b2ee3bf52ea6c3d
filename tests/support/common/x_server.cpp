// Xvfb as a child process, and plain Xlib.
#include "tests/support/common/x_server.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>

std::string XTestServer::Start(int width, int height) {
  const std::string screen = std::to_string(width) + "x" + std::to_string(height) + "x24";
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return "";
  m_process = fork();
  if (m_process == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);  // a test that crashes leaves no server behind
    const int quiet = open("/dev/null", O_RDWR);
    const int number = fcntl(ends[1], F_DUPFD, 3);
    dup2(quiet, 1);
    dup2(quiet, 2);
    const std::string text = std::to_string(number);
    execlp("Xvfb", "Xvfb", "-displayfd", text.c_str(), "-screen", "0", screen.c_str(), "-nolisten",
           "tcp", nullptr);
    _exit(127);
  }
  close(ends[1]);
  // It writes its number and a newline when it can be connected to, and closes the pipe when it
  // cannot start.
  std::string number;
  char digit = 0;
  while (read(ends[0], &digit, 1) == 1 && digit != '\n') number += digit;
  close(ends[0]);
  if (digit != '\n') {
    Stop();
    return "";
  }
  return ":" + number;
}

void XTestServer::Stop() {
  if (m_process <= 0) return;
  kill(m_process, SIGKILL);
  waitpid(m_process, nullptr, 0);
  m_process = 0;
}

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

unsigned long XClient::Find(const std::string& title) {
  Display* const display = m_connection->display;
  Window root = 0, parent = 0;
  Window* windows = nullptr;
  unsigned count = 0;
  unsigned long found = 0;
  XQueryTree(display, DefaultRootWindow(display), &root, &parent, &windows, &count);
  for (unsigned i = 0; i < count; i++) {
    if (IsShown(windows[i]) && Title(windows[i]) == title) found = windows[i];
  }
  if (windows) XFree(windows);
  return found;
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
