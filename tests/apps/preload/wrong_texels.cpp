// Preloaded into a program: what it reads back of textures has one channel wrong by 8. With
// GL3_CRASH_AFTERWARDS set, it crashes when it gives back a context after that; with GL3_HANGS, it
// hangs as soon as it opens a display.
#include <EGL/egl.h>
#include <GL/gl.h>
#include <unistd.h>

#include <cstdlib>

#include "tests/support/next_symbol.h"

namespace {

bool g_crashes = false;

}  // namespace

extern "C" void glGetTexImage(GLenum target, GLint level, GLenum format, GLenum type,
                              void* pixels) {
  static auto* const next = NextSymbol<decltype(glGetTexImage)>("glGetTexImage");
  next(target, level, format, type, pixels);
  auto* const red = static_cast<unsigned char*>(pixels);
  *red = static_cast<unsigned char>(*red < 128 ? *red + 8 : *red - 8);
  g_crashes = std::getenv("GL3_CRASH_AFTERWARDS") != nullptr;
}

extern "C" EGLBoolean eglInitialize(EGLDisplay display, EGLint* major, EGLint* minor) {
  while (std::getenv("GL3_HANGS")) pause();
  static auto* const next = NextSymbol<decltype(eglInitialize)>("eglInitialize");
  return next(display, major, minor);
}

extern "C" EGLBoolean eglDestroyContext(EGLDisplay display, EGLContext context) {
  if (g_crashes) std::abort();
  static auto* const next = NextSymbol<decltype(eglDestroyContext)>("eglDestroyContext");
  return next(display, context);
}
