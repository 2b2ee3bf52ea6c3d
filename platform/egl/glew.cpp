// GLEW under EGL.
#include <cstdio>

#include "platform/gl.h"

namespace {

/// Whether each GL version up to the context's has its entry points. One stands for all of a
/// version, since GLEW loads them together; 4.1 to 4.4 have none there but those of extensions.
bool HasEntryPoints() {
  const auto* version = reinterpret_cast<const char*>(glGetString(GL_VERSION));
  int major = 0;
  int minor = 0;
  if (!version || std::sscanf(version, "%d.%d", &major, &minor) != 2) return false;
  const struct {
    int version;
    bool loaded;
  } entries[] = {
      {12, glDrawRangeElements != nullptr},  {13, glActiveTexture != nullptr},
      {14, glBlendFuncSeparate != nullptr},  {15, glBindBuffer != nullptr},
      {20, glCreateProgram != nullptr},      {21, glUniformMatrix2x3fv != nullptr},
      {30, glClampColor != nullptr},         {31, glDrawElementsInstanced != nullptr},
      {32, glFramebufferTexture != nullptr}, {33, glVertexAttribDivisor != nullptr},
      {40, glMinSampleShading != nullptr},   {45, glGetGraphicsResetStatus != nullptr},
      {46, glSpecializeShader != nullptr},
  };
  for (const auto& entry : entries) {
    if (entry.version <= major * 10 + minor && !entry.loaded) return false;
  }
  return true;
}

}  // namespace

unsigned int InitializeGlew() {
  // glewExperimental stays off: with it GLEW calls an extension present when its entry points can
  // be found, and GL dispatch libraries have entry points for extensions that the driver lacks.
  const GLenum error = glewInit();
  if (error == GLEW_ERROR_NO_GLX_DISPLAY && HasEntryPoints()) return GLEW_OK;
  return error;
}
