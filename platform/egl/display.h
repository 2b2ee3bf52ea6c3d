// The process's one EGL display, opened when it is first needed.
#pragma once

#include <EGL/egl.h>

#include <string>
#include <vector>

#include "platform/platform.h"

namespace platform {

/// A platform or device that was tried and not taken.
struct Refusal {
  std::string what;  ///< A platform's name, or a device's number.
  std::string why;
};

struct Display {
  EGLDisplay egl = EGL_NO_DISPLAY;   ///< EGL_NO_DISPLAY when none could be opened.
  bool surfacelessContexts = false;  ///< Contexts can be current without a surface.
  EGLConfig windowConfig = nullptr;  ///< Of all windows on a screen; null where there are none.
  int device = -1;                   ///< Its number, when it was chosen from EGL's list.
  DisplayReport report;
  std::vector<Refusal> refusals;  ///< In the order of trying.
};

/// Opens the display on the first call. It stays open until the process ends.
const Display& OpenDisplay();

/// Whether a list of names separated by blanks has `name`.
bool HasName(const char* list, const char* name);
/// The name of an EGL error, "EGL error N" for an unknown one.
std::string EglErrorName(EGLint error);

}  // namespace platform
