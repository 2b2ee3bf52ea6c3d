// The main display. It is a name alone: no screen is needed, and static initialisers may ask.
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
