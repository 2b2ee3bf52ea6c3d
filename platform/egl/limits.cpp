// The largest off-screen surface, found by trying.
#include "platform/platform.h"

#include <EGL/egl.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>

#include "platform/egl/context.h"
#include "platform/egl/display.h"
#include "platform/egl/drawable.h"
#include "platform/egl/pixel_format.h"
#include "platform/gl.h"

namespace platform {
namespace {

/// Puts this thread's EGL binding back as it was.
class KeepCurrent {
 public:
  KeepCurrent()
      : m_display(eglGetCurrentDisplay()),
        m_draw(eglGetCurrentSurface(EGL_DRAW)),
        m_read(eglGetCurrentSurface(EGL_READ)),
        m_context(eglGetCurrentContext()) {}
  KeepCurrent(const KeepCurrent&) = delete;
  KeepCurrent& operator=(const KeepCurrent&) = delete;
  ~KeepCurrent() {
    const EGLDisplay display = m_display ? m_display : OpenDisplay().egl;
    eglMakeCurrent(display, m_draw, m_read, m_context);
  }

 private:
  EGLDisplay m_display;
  EGLSurface m_draw, m_read;
  EGLContext m_context;
};

/// Whether a surface of that size can be drawn at its far corner.
bool CanDraw(const PixelFormat& format, EGLContext context, int width, int height) {
  PbufferSurfaces surfaces;
  const EGLSurface surface = surfaces.Fit(format.config, width, height);
  if (surface == EGL_NO_SURFACE) return false;
  if (!eglMakeCurrent(OpenDisplay().egl, surface, surface, context)) return false;
  glEnable(GL_SCISSOR_TEST);
  GLubyte pixel[4] = {0, 0, 0, 0};
  for (const GLfloat value : {0.0f, 1.0f}) {
    glScissor(width - 1, height - 1, 1, 1);
    glClearColor(value, value, value, value);
    glClear(GL_COLOR_BUFFER_BIT);
  }
  glReadPixels(width - 1, height - 1, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel);
  return std::all_of(std::begin(pixel), std::end(pixel), [](GLubyte v) { return v == 255; });
}

/// The shorter of the sides that EGL promises; 0 when there is no display.
int PromisedPbufferSize() {
  const std::optional<PixelFormat> format = ChoosePixelFormat({});
  if (!format) return 0;
  EGLint width = 0;
  EGLint height = 0;
  eglGetConfigAttrib(OpenDisplay().egl, format->config, EGL_MAX_PBUFFER_WIDTH, &width);
  eglGetConfigAttrib(OpenDisplay().egl, format->config, EGL_MAX_PBUFFER_HEIGHT, &height);
  return std::min(width, height);
}

/// EGL_MAX_PBUFFER_WIDTH and HEIGHT are a promise, and Mesa's software renderer draws beyond it: it
/// says 4096 and draws as far as GL's own limits. So the larger size is tried, on surfaces one
/// pixel thin.
int FindMaxPbufferSize() {
  const std::optional<PixelFormat> format = ChoosePixelFormat({});
  if (!format) return 0;
  const int sure = PromisedPbufferSize();
  const KeepCurrent keep;
  EGLint error = EGL_SUCCESS;
  const std::shared_ptr<Context> context = Context::Make(*format, nullptr, error);
  PbufferSurfaces start;
  const EGLSurface surface = start.Fit(format->config, 1, 1);
  if (!context || !eglMakeCurrent(OpenDisplay().egl, surface, surface, context->Egl())) return sure;
  GLint viewport[2] = {0, 0};
  GLint texture = 0;
  glGetIntegerv(GL_MAX_VIEWPORT_DIMS, viewport);
  glGetIntegerv(GL_MAX_TEXTURE_SIZE, &texture);
  const int limit = std::min({viewport[0], viewport[1], texture});
  if (limit <= sure) return limit;
  const bool drawn =
      CanDraw(*format, context->Egl(), limit, 1) && CanDraw(*format, context->Egl(), 1, limit);
  return drawn ? limit : sure;
}

}  // namespace

int MaxPbufferSize() {
  static const int size = FindMaxPbufferSize();
  return size;
}

bool IsPbufferSize(int width, int height) {
  if (width <= 0 || height <= 0) return false;
  // Trying takes a context of its own, some ten milliseconds: most surfaces do without.
  static const int promised = PromisedPbufferSize();
  const int side = std::max(width, height);
  return side <= promised || side <= MaxPbufferSize();
}

}  // namespace platform
