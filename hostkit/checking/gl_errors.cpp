// Errors of the GL.
#include "hostkit/checking/gl_errors.h"

#include <fmt/format.h>

#include <cstddef>
#include <map>
#include <utility>

#include "platform/cgl.h"
#include "platform/gl.h"

namespace hostkit::checking {
namespace {

thread_local std::vector<std::string> g_told;

void GLAPIENTRY KeepMessage(GLenum, GLenum, GLuint, GLenum, GLsizei, const GLchar* text,
                            const void*) {
  g_told.emplace_back(text ? text : "an error without a name");
}

std::string NameOf(GLenum error) {
  static constexpr std::pair<GLenum, const char*> kNames[] = {
      {GL_INVALID_ENUM, "GL_INVALID_ENUM"},
      {GL_INVALID_VALUE, "GL_INVALID_VALUE"},
      {GL_INVALID_OPERATION, "GL_INVALID_OPERATION"},
      {GL_STACK_OVERFLOW, "GL_STACK_OVERFLOW"},
      {GL_STACK_UNDERFLOW, "GL_STACK_UNDERFLOW"},
      {GL_OUT_OF_MEMORY, "GL_OUT_OF_MEMORY"},
      {GL_INVALID_FRAMEBUFFER_OPERATION, "GL_INVALID_FRAMEBUFFER_OPERATION"}};
  for (const auto& [number, name] : kNames) {
    if (number == error) return name;
  }
  return fmt::format("error {:#x}", error);
}

/// A context that is lost answers an error for ever.
constexpr int kMostErrors = 16;

void AskForErrors() {
  for (int i = 0; i < kMostErrors; ++i) {
    const GLenum error = glGetError();
    if (error == GL_NO_ERROR) return;
    g_told.push_back(NameOf(error));
  }
}

/// Has the GL tell its errors. False where it does not: without the extension, as a context that
/// was not made for debugging may, and where the host has it tell itself.
bool HaveErrorsTold() {
  if (!GLEW_KHR_debug || !glDebugMessageCallback) return false;
  void* listener = nullptr;
  glGetPointerv(GL_DEBUG_CALLBACK_FUNCTION, &listener);
  if (listener && listener != reinterpret_cast<void*>(KeepMessage)) return false;
  glDebugMessageControl(GL_DONT_CARE, GL_DONT_CARE, GL_DONT_CARE, 0, nullptr, GL_FALSE);
  glDebugMessageControl(GL_DEBUG_SOURCE_API, GL_DEBUG_TYPE_ERROR, GL_DONT_CARE, 0, nullptr,
                        GL_TRUE);
  glDebugMessageCallback(KeepMessage, nullptr);
  glEnable(GL_DEBUG_OUTPUT);
  glEnable(GL_DEBUG_OUTPUT_SYNCHRONOUS);
  const std::size_t told = g_told.size();
  glEnable(GL_NONE);  // an error, to see whether it is told
  glGetError();
  const bool tells = g_told.size() > told;
  g_told.resize(told);
  return tells;
}

}  // namespace

std::vector<std::string> TakeGlErrors(bool fresh, bool mayAsk) {
  thread_local std::map<CGLContextObj, bool> isTelling;
  const CGLContextObj context = CGLGetCurrentContext();
  if (context && fresh) isTelling.erase(context);
  if (context && mayAsk) {
    const auto [known, isNew] = isTelling.try_emplace(context, false);
    if (!known->second) AskForErrors();
    if (isNew) known->second = HaveErrorsTold();
  }
  return std::exchange(g_told, {});
}

bool IsGlEnabled(unsigned capability) {
  return !CGLGetCurrentContext() || glIsEnabled(capability);
}

int GlInteger(unsigned name, int fallback) {
  GLint value = fallback;
  if (CGLGetCurrentContext()) glGetIntegerv(name, &value);
  return value;
}

}  // namespace hostkit::checking
