// The hidden window: drawing goes to a pbuffer, a swap copies it into host memory.
#include "platform/egl/hidden_window.h"

#include <EGL/egl.h>

#include <algorithm>
#include <cstddef>
#include <new>

#include "platform/egl/display.h"
#include "platform/egl/entry_point.h"
#include "platform/gl.h"

namespace platform {
namespace {

/// Sets what reading pixels depends on to plain values, and back again at its end: a frame is shown
/// as it was drawn, whatever the program reads or writes pixels with. GLEW is not used: its entry
/// points may not be loaded in this process.
class PlainReading {
 public:
  explicit PlainReading(GLint rowLength) {
    static const auto bindBuffer = EntryPoint<PFNGLBINDBUFFERPROC>("glBindBuffer");
    glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &m_framebuffer);
    if (m_framebuffer != 0) BindFramebuffer(0);
    glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
    glPushAttrib(GL_PIXEL_MODE_BIT);
    GLint packBuffer = 0;
    glGetIntegerv(GL_PIXEL_PACK_BUFFER_BINDING, &packBuffer);
    if (packBuffer != 0) bindBuffer(GL_PIXEL_PACK_BUFFER, 0);
    constexpr GLenum kStores[] = {GL_PACK_SWAP_BYTES, GL_PACK_LSB_FIRST, GL_PACK_SKIP_ROWS,
                                  GL_PACK_SKIP_PIXELS};
    for (const GLenum store : kStores) glPixelStorei(store, 0);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glPixelStorei(GL_PACK_ROW_LENGTH, rowLength);
    constexpr GLenum kScales[] = {GL_RED_SCALE, GL_GREEN_SCALE, GL_BLUE_SCALE, GL_ALPHA_SCALE};
    constexpr GLenum kBiases[] = {GL_RED_BIAS, GL_GREEN_BIAS, GL_BLUE_BIAS, GL_ALPHA_BIAS};
    for (const GLenum scale : kScales) glPixelTransferf(scale, 1);
    for (const GLenum bias : kBiases) glPixelTransferf(bias, 0);
    glPixelTransferi(GL_MAP_COLOR, GL_FALSE);
  }
  PlainReading(const PlainReading&) = delete;
  PlainReading& operator=(const PlainReading&) = delete;
  ~PlainReading() {
    glPopAttrib();
    glPopClientAttrib();
    if (m_framebuffer != 0) BindFramebuffer(m_framebuffer);
  }

 private:
  static void BindFramebuffer(GLint name) {
    static const auto bind = EntryPoint<PFNGLBINDFRAMEBUFFERPROC>("glBindFramebuffer");
    bind(GL_READ_FRAMEBUFFER, static_cast<GLuint>(name));
  }

  GLint m_framebuffer = 0;
};

}  // namespace

HiddenWindow::HiddenWindow(const WindowPlace& place, HWND parent, CWnd* owner)
    : Window(place, parent, owner) {
  ResizeTo(place);
}

void HiddenWindow::ResizeTo(const WindowPlace& place) {
  m_pixels = std::vector<std::uint32_t>(static_cast<std::size_t>(place.width) *
                                        static_cast<std::size_t>(place.height));
  m_pixMap.baseAddr = reinterpret_cast<char*>(m_pixels.data());
  SetPixMapSize(place.width, place.height);
}

EGLSurface HiddenWindow::SurfaceFor(EGLConfig config) {
  if (const EGLSurface surface = m_surfaces.Find(config)) return surface;
  return Refit(config);
}

EGLSurface HiddenWindow::Refit(EGLConfig config) {
  return m_surfaces.Fit(config, m_place.width, m_place.height);
}

EGLint HiddenWindow::Present() {
  const EGLSurface surface = eglGetCurrentSurface(EGL_DRAW);
  EGLint width = 0;
  EGLint height = 0;
  eglQuerySurface(OpenDisplay().egl, surface, EGL_WIDTH, &width);
  eglQuerySurface(OpenDisplay().egl, surface, EGL_HEIGHT, &height);
  width = std::min(width, m_place.width);
  const int rows = std::min(height, m_place.height);
  if (width <= 0 || rows <= 0) return EGL_SUCCESS;

  const PlainReading plain(m_place.width);
  // GL's rows go up from the bottom, the map's down from the top.
  glReadPixels(0, height - rows, width, rows, GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV,
               m_pixels.data());
  const std::ptrdiff_t stride = m_place.width;
  for (auto low = m_pixels.begin(), high = low + stride * (rows - 1); low < high;
       low += stride, high -= stride) {
    std::swap_ranges(low, low + stride, high);
  }
  return EGL_SUCCESS;
}

bool HiddenWindow::Move(const WindowPlace& place) {
  if (!IsValidSize(place.width, place.height)) return false;
  const bool resized = place.width != m_place.width || place.height != m_place.height;
  try {
    if (resized) ResizeTo(place);
  } catch (const std::bad_alloc&) {
    return false;
  }
  m_place = place;
  return true;
}

}  // namespace platform
