// A bare EGL pbuffer with a context of desktop OpenGL, for bare_render.
#pragma once

#include <EGL/egl.h>

namespace bare {

/// Current from construction to destruction. `Ready` is false when there is no OpenGL.
class Pbuffer {
 public:
  Pbuffer(int width, int height);
  ~Pbuffer();
  Pbuffer(const Pbuffer&) = delete;
  Pbuffer& operator=(const Pbuffer&) = delete;
  bool Ready() const { return m_ready; }

 private:
  EGLDisplay m_display = EGL_NO_DISPLAY;
  EGLSurface m_surface = EGL_NO_SURFACE;
  EGLContext m_context = EGL_NO_CONTEXT;
  bool m_ready = false;
};

}  // namespace bare
