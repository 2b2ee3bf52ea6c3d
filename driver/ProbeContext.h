// A throw-away GL context for asking the GL what it can do.
#pragma once

#include <initializer_list>

#include "platform/cgl.h"

/// Makes a context of its own current for as long as it lives; afterwards the context that was
/// current before is current again, whatever happened in between.
class ProbeContext {
 public:
  ProbeContext() : m_remembered(CGLGetCurrentContext()) {}
  ProbeContext(const ProbeContext&) = delete;
  ProbeContext& operator=(const ProbeContext&) = delete;
  ~ProbeContext() {
    CGLDestroyContext(m_context);
    CGLSetCurrentContext(m_remembered);
  }

  /// Takes the first of the attribute lists (each ended by 0) that gives a pixel format and makes
  /// a context of it current. False when no list gives a format.
  bool Open(std::initializer_list<const CGLPixelFormatAttribute*> lists) {
    CGLPixelFormatObj format = nullptr;
    for (const CGLPixelFormatAttribute* list : lists) {
      int count = 0;
      CGLChoosePixelFormat(list, &format, &count);
      if (format) break;
    }
    if (!format) return false;
    CGLCreateContext(format, nullptr, &m_context);
    CGLDestroyPixelFormat(format);
    CGLSetCurrentContext(m_context);
    return true;
  }

  /// Whether there is a context: a format need not lead to one.
  bool HasContext() const { return m_context != nullptr; }

 private:
  CGLContextObj m_remembered;
  CGLContextObj m_context = nullptr;
};
