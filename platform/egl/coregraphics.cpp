// The main display: a number alone, which needs no screen.
#include "platform/coregraphics.h"

namespace {
constexpr CGDirectDisplayID kMainDisplay = 1;
}

CGDirectDisplayID CGMainDisplayID(void) {
  return kMainDisplay;
}

CGOpenGLDisplayMask CGDisplayIDToOpenGLDisplayMask(CGDirectDisplayID display) {
  return display == kMainDisplay ? 1 : 0;
}
