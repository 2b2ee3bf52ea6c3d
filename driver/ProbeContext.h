// A throw-away GL context for asking the GL what it can do.
#pragma once

#include "platform/cgl.h"
#include "platform/gl.h"

/// Makes a context of its own current for as long as it lives; afterwards the context that was
/// current before is current again, whatever happened in between. Needs no driver.
class ProbeContext {
 public:
  enum class Result {
    kNoFormat,   ///< No pixel format.
    kNoContext,  ///< A pixel format, but no context of it.
    kReady,      ///< A context, current now.
  };
  enum class Samples { kOne, kFour };

  ProbeContext() : m_remembered(CGLGetCurrentContext()) {}
  ProbeContext(const ProbeContext&) = delete;
  ProbeContext& operator=(const ProbeContext&) = delete;
  ~ProbeContext() {
    CGLDestroyContext(m_context);
    CGLSetCurrentContext(m_remembered);
  }

  /// Asks for an accelerated, double-buffered format of the main display with 24 bits of colour, 8
  /// of alpha and so many samples, else for any of that display, and makes a context of it current.
  /// To be called once.
  Result Open(Samples samples);

 private:
  CGLContextObj m_remembered;
  CGLContextObj m_context = nullptr;
};

/// A text of the current context, such as GL_VENDOR; empty when the GL has none.
inline const char* GLText(GLenum name) {
  const auto* text = reinterpret_cast<const char*>(glGetString(name));
  return text ? text : "";
}
