// Preloaded into a program: what it reads back of textures has one channel wrong by 8.
#include <GL/gl.h>
#include <dlfcn.h>

extern "C" void glGetTexImage(GLenum target, GLint level, GLenum format, GLenum type,
                              void* pixels) {
  static auto* const next =
      reinterpret_cast<decltype(&glGetTexImage)>(dlsym(RTLD_NEXT, "glGetTexImage"));
  next(target, level, format, type, pixels);
  auto* const red = static_cast<unsigned char*>(pixels);
  *red = static_cast<unsigned char>(*red < 128 ? *red + 8 : *red - 8);
}
