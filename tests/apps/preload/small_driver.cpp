// Preloaded into a program: a driver whose depth buffers have at most so many bits as
// GL3_MOST_DEPTH says, whose pbuffers have sides of at most GL3_MOST_PBUFFER pixels, and which
// lacks the extension GL3_HIDDEN. With GL3_CRASHES it dies as it gives pixels back. Without these
// it is the real one.
#include <EGL/egl.h>
#include <GL/glew.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "tests/support/next_symbol.h"

namespace {

/// The variable's value; no limit without it.
int Limit(const char* name) {
  const char* const text = std::getenv(name);
  return text ? std::atoi(text) : 1 << 20;
}

EGLint Attribute(EGLDisplay display, EGLConfig config, EGLint name) {
  static auto* const next = NextSymbol<decltype(eglGetConfigAttrib)>("eglGetConfigAttrib");
  EGLint value = 0;
  next(display, config, name, &value);
  return value;
}

using Function = void (*)();

/// What finds entry points; GLEW asks it for the one that lists extensions.
Function Find(const unsigned char* name) {
  static auto* const next = NextSymbol<Function(const unsigned char*)>("glXGetProcAddressARB");
  return next(name);
}

const GLubyte* ListExtension(GLenum name, GLuint index) {
  static auto* const next = reinterpret_cast<const GLubyte* (*)(GLenum, GLuint)>(
      Find(reinterpret_cast<const unsigned char*>("glGetStringi")));
  const GLubyte* const text = next(name, index);
  const char* const hidden = std::getenv("GL3_HIDDEN");
  const bool isHidden =
      hidden && text && std::strcmp(reinterpret_cast<const char*>(text), hidden) == 0;
  return isHidden ? reinterpret_cast<const GLubyte*>("") : text;
}

}  // namespace

extern "C" Function glXGetProcAddressARB(const unsigned char* name) {
  const bool isList = std::strcmp(reinterpret_cast<const char*>(name), "glGetStringi") == 0;
  return isList ? reinterpret_cast<Function>(ListExtension) : Find(name);
}

extern "C" EGLBoolean eglChooseConfig(EGLDisplay display, const EGLint* attributes,
                                      EGLConfig* configs, EGLint size, EGLint* count) {
  static auto* const next = NextSymbol<decltype(eglChooseConfig)>("eglChooseConfig");
  std::vector<EGLConfig> all(4096);
  EGLint found = 0;
  if (!next(display, attributes, all.data(), 4096, &found)) return EGL_FALSE;
  all.resize(static_cast<std::size_t>(found));
  const int most = Limit("GL3_MOST_DEPTH");
  std::erase_if(all, [&](EGLConfig c) { return Attribute(display, c, EGL_DEPTH_SIZE) > most; });
  const int wanted = configs ? size : static_cast<int>(all.size());
  *count = std::min(wanted, static_cast<int>(all.size()));
  if (configs) std::copy_n(all.begin(), *count, configs);
  return EGL_TRUE;
}

extern "C" EGLBoolean eglGetConfigAttrib(EGLDisplay display, EGLConfig config, EGLint name,
                                         EGLint* value) {
  *value = Attribute(display, config, name);
  if (name == EGL_MAX_PBUFFER_WIDTH || name == EGL_MAX_PBUFFER_HEIGHT) {
    *value = std::min(*value, Limit("GL3_MOST_PBUFFER"));
  }
  return EGL_TRUE;
}

extern "C" void glReadPixels(GLint x, GLint y, GLsizei width, GLsizei height, GLenum format,
                             GLenum type, void* pixels) {
  static auto* const next = NextSymbol<decltype(glReadPixels)>("glReadPixels");
  if (std::getenv("GL3_CRASHES")) std::abort();
  next(x, y, width, height, format, type, pixels);
}

extern "C" EGLSurface eglCreatePbufferSurface(EGLDisplay display, EGLConfig config,
                                              const EGLint* attributes) {
  static auto* const next =
      NextSymbol<decltype(eglCreatePbufferSurface)>("eglCreatePbufferSurface");
  for (const EGLint* at = attributes; at && *at != EGL_NONE; at += 2) {
    const bool isSide = at[0] == EGL_WIDTH || at[0] == EGL_HEIGHT;
    if (isSide && at[1] > Limit("GL3_MOST_PBUFFER")) return EGL_NO_SURFACE;
  }
  return next(display, config, attributes);
}
