// CoreGraphics: the main display and its OpenGL display mask.
#pragma once

#include <cstdint>

extern "C" {

/// A display's number.
typedef std::uint32_t CGDirectDisplayID;
/// Displays, a bit each.
typedef std::uint32_t CGOpenGLDisplayMask;

/// The main display, also where there is no screen. Callable from static initialisers.
CGDirectDisplayID CGMainDisplayID(void);
/// One bit for a display; 0 for one that does not exist.
CGOpenGLDisplayMask CGDisplayIDToOpenGLDisplayMask(CGDirectDisplayID display);
}
