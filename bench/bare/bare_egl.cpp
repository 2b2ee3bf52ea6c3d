// A bare EGL pbuffer.
#include "bench/bare/bare_egl.h"

#include <EGL/eglext.h>

namespace bare {

Pbuffer::Pbuffer(int width, int height) {
  const auto listDevices =
      reinterpret_cast<PFNEGLQUERYDEVICESEXTPROC>(eglGetProcAddress("eglQueryDevicesEXT"));
  const auto getDisplay = reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(
      eglGetProcAddress("eglGetPlatformDisplayEXT"));
  EGLDeviceEXT device = nullptr;
  EGLint count = 0;
  if (!listDevices || !getDisplay || !listDevices(1, &device, &count) || count < 1) return;
  m_display = getDisplay(EGL_PLATFORM_DEVICE_EXT, device, nullptr);
  if (!eglInitialize(m_display, nullptr, nullptr) || !eglBindAPI(EGL_OPENGL_API)) return;
  const EGLint wish[] = {EGL_SURFACE_TYPE,
                         EGL_PBUFFER_BIT,
                         EGL_RENDERABLE_TYPE,
                         EGL_OPENGL_BIT,
                         EGL_RED_SIZE,
                         8,
                         EGL_ALPHA_SIZE,
                         8,
                         EGL_DEPTH_SIZE,
                         24,
                         EGL_NONE};
  EGLConfig config = nullptr;
  if (!eglChooseConfig(m_display, wish, &config, 1, &count) || count < 1) return;
  const EGLint size[] = {EGL_WIDTH, width, EGL_HEIGHT, height, EGL_NONE};
  m_surface = eglCreatePbufferSurface(m_display, config, size);
  m_context = eglCreateContext(m_display, config, EGL_NO_CONTEXT, nullptr);
  m_ready = eglMakeCurrent(m_display, m_surface, m_surface, m_context) == EGL_TRUE;
}

Pbuffer::~Pbuffer() {
  if (m_display != EGL_NO_DISPLAY) eglTerminate(m_display);
}

}  // namespace bare
