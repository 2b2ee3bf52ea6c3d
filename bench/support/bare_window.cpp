// A window of an X server with a bare OpenGL context.
#include "bench/support/bare_window.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <memory>
#include <stdexcept>

namespace bench {

struct BareWindow::Handles {
  Display* server = nullptr;
  Window window = 0;
  EGLDisplay display = EGL_NO_DISPLAY;
  EGLContext context = EGL_NO_CONTEXT;
  EGLSurface surface = EGL_NO_SURFACE;

  ~Handles() {
    if (context != EGL_NO_CONTEXT) {
      eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
      eglDestroyContext(display, context);
    }
    if (surface != EGL_NO_SURFACE) eglDestroySurface(display, surface);
    if (display != EGL_NO_DISPLAY) eglTerminate(display);
    if (server) XCloseDisplay(server);
  }
  EGLConfig ChooseConfig() const;
  bool MakeWindow(EGLConfig config, int left, int width, int height);
};

EGLConfig BareWindow::Handles::ChooseConfig() const {
  const EGLint wish[] = {EGL_SURFACE_TYPE,
                         EGL_WINDOW_BIT,
                         EGL_RENDERABLE_TYPE,
                         EGL_OPENGL_BIT,
                         EGL_RED_SIZE,
                         8,
                         EGL_GREEN_SIZE,
                         8,
                         EGL_BLUE_SIZE,
                         8,
                         EGL_DEPTH_SIZE,
                         24,
                         EGL_NONE};
  EGLConfig config = nullptr;
  EGLint count = 0;
  eglChooseConfig(display, wish, &config, 1, &count);
  return config;
}

bool BareWindow::Handles::MakeWindow(EGLConfig config, int left, int width, int height) {
  XVisualInfo visual{};
  EGLint id = 0;
  eglGetConfigAttrib(display, config, EGL_NATIVE_VISUAL_ID, &id);
  visual.visualid = static_cast<VisualID>(id);
  int count = 0;
  XVisualInfo* found = XGetVisualInfo(server, VisualIDMask, &visual, &count);
  if (!found) return false;
  visual = *found;
  XFree(found);
  const Window root = DefaultRootWindow(server);
  XSetWindowAttributes attributes{};
  attributes.colormap = XCreateColormap(server, root, visual.visual, AllocNone);
  window = XCreateWindow(server, root, left, 0, static_cast<unsigned>(width),
                         static_cast<unsigned>(height), 0, visual.depth, InputOutput, visual.visual,
                         CWColormap | CWBorderPixel, &attributes);
  XMapWindow(server, window);
  XSync(server, False);
  surface = eglCreateWindowSurface(display, config, window, nullptr);
  return surface != EGL_NO_SURFACE;
}

BareWindow::BareWindow(int left, int width, int height) : m_handles(nullptr) {
  auto handles = std::make_unique<Handles>();
  handles->server = XOpenDisplay(nullptr);
  if (!handles->server) throw std::runtime_error("no X server answers");
  handles->display = eglGetPlatformDisplay(EGL_PLATFORM_X11_KHR, handles->server, nullptr);
  eglInitialize(handles->display, nullptr, nullptr);
  eglBindAPI(EGL_OPENGL_API);
  const EGLConfig config = handles->ChooseConfig();
  if (!config || !handles->MakeWindow(config, left, width, height)) {
    throw std::runtime_error("no bare window can be made");
  }
  handles->context = eglCreateContext(handles->display, config, EGL_NO_CONTEXT, nullptr);
  if (handles->context == EGL_NO_CONTEXT) throw std::runtime_error("no bare context can be made");
  m_handles = handles.release();
  MakeCurrent();
  eglSwapInterval(m_handles->display, 1);
}

BareWindow::~BareWindow() {
  delete m_handles;
}

void BareWindow::MakeCurrent() {
  eglMakeCurrent(m_handles->display, m_handles->surface, m_handles->surface, m_handles->context);
}

void BareWindow::Swap() {
  eglSwapBuffers(m_handles->display, m_handles->surface);
}

void BareWindow::Sync() {
  XSync(m_handles->server, False);
}

}  // namespace bench
