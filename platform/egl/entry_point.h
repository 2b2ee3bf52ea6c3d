// Entry points of EGL's extensions and of the GL, by name.
#pragma once

#include <EGL/egl.h>

namespace platform {

/// An entry point of the type `Function`; null when EGL knows none of that name.
template <typename Function>
Function EntryPoint(const char* name) {
  return reinterpret_cast<Function>(eglGetProcAddress(name));
}

}  // namespace platform
