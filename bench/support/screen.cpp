// What somebody in front of a screen sees and does, by plain Xlib.
#include "bench/support/screen.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <dlfcn.h>

#include <stdexcept>

namespace bench {
namespace {

/// Windows of other programs may go at any time.
int Forgive(Display*, XErrorEvent*) {
  return 0;
}

}  // namespace

struct Screen::Connection {
  using Move = int (*)(Display*, int screen, int x, int y, unsigned long delay);
  using Button = int (*)(Display*, unsigned button, int down, unsigned long delay);

  Display* display = XOpenDisplay(nullptr);
  // A server tells programs of these as of a hand's; of events that are sent, not all take notice.
  void* library = dlopen("libXtst.so.6", RTLD_NOW);
  Move move = library ? reinterpret_cast<Move>(dlsym(library, "XTestFakeMotionEvent")) : nullptr;
  Button button =
      library ? reinterpret_cast<Button>(dlsym(library, "XTestFakeButtonEvent")) : nullptr;
};

Screen::Screen() : m_connection(new Connection) {
  if (!m_connection->display) {
    delete m_connection;
    throw std::runtime_error("the X server cannot be reached");
  }
  XSetErrorHandler(Forgive);
}

Screen::~Screen() {
  XCloseDisplay(m_connection->display);
  delete m_connection;
}

SeenWindow Screen::At(int x, int y) {
  Display* const display = m_connection->display;
  const Window root = DefaultRootWindow(display);
  Window found = root, inner = root;
  while (inner) {
    found = inner;
    int unusedX = 0, unusedY = 0;
    if (!XTranslateCoordinates(display, root, found, x, y, &unusedX, &unusedY, &inner)) return {};
  }
  XWindowAttributes attributes{};
  if (found == root || !XGetWindowAttributes(display, found, &attributes)) return {};
  SeenWindow window{found, 0, 0, attributes.width, attributes.height};
  XTranslateCoordinates(display, found, root, 0, 0, &window.x, &window.y, &inner);
  return window;
}

std::vector<std::uint32_t> Screen::Middle(const SeenWindow& window, int width, int height) {
  std::vector<std::uint32_t> pixels;
  if (!window.number || window.width < width || window.height < height) return pixels;
  XImage* const image = XGetImage(m_connection->display, window.number, (window.width - width) / 2,
                                  (window.height - height) / 2, static_cast<unsigned>(width),
                                  static_cast<unsigned>(height), AllPlanes, ZPixmap);
  if (!image) return pixels;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      pixels.push_back(static_cast<std::uint32_t>(XGetPixel(image, x, y) & 0xFFFFFF));
    }
  }
  XDestroyImage(image);
  return pixels;
}

bool Screen::HasPointer() const {
  return m_connection->move && m_connection->button;
}

void Screen::MoveTo(int x, int y) {
  m_connection->move(m_connection->display, DefaultScreen(m_connection->display), x, y, 0);
  XFlush(m_connection->display);
}

void Screen::Press(bool down) {
  m_connection->button(m_connection->display, Button1, down ? True : False, 0);
  XFlush(m_connection->display);
}

}  // namespace bench
