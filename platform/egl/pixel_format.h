// Choice of an EGL config after a few wishes.
#pragma once

#include <EGL/egl.h>

#include <optional>

namespace platform {

/// What is asked of a format, beside eight bits each for red, green, blue and alpha.
struct PixelWish {
  int depthBits = 0;
  int samples = 0;
  bool doubleBuffer = false;
  bool operator==(const PixelWish&) const = default;
};

struct PixelFormat {
  EGLConfig config = nullptr;
  int colorBits = 0;  ///< Red, green, blue and alpha together.
  int depthBits = 0;
  bool doubleBuffer = false;
};

/// The config nearest to a wish: of those with as many samples and depth bits as asked the one with
/// the fewest, else the most there are. Where windows come on a screen, all wishes for double
/// buffering without samples get the windows' config. Nothing when there is no display.
std::optional<PixelFormat> ChoosePixelFormat(const PixelWish& wish);

/// Whether any config draws desktop GL into pbuffers, in eight bits a channel or more.
bool HasPbufferConfig(EGLDisplay display);

/// The config of all windows on a screen: the deepest there is, of a visual that is the preferred
/// one if possible. Null when there is none.
EGLConfig ChooseWindowConfig(EGLDisplay display, EGLint preferredVisual);

}  // namespace platform
