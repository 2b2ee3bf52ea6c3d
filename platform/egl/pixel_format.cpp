// Choice of an EGL config after a few wishes.
#include "platform/egl/pixel_format.h"

#include <algorithm>
#include <tuple>
#include <vector>

#include "platform/egl/display.h"

namespace platform {
namespace {

EGLint Attribute(EGLConfig config, EGLint name) {
  EGLint value = 0;
  eglGetConfigAttrib(OpenDisplay().egl, config, name, &value);
  return value;
}

/// Smaller is nearer to the wish. Samples come first, so that nobody gets them unasked.
auto Distance(EGLConfig config, const PixelWish& wish) {
  const int colorExcess = Attribute(config, EGL_RED_SIZE) - 8;
  const int samples = Attribute(config, EGL_SAMPLES) - wish.samples;
  const int depth = Attribute(config, EGL_DEPTH_SIZE) - wish.depthBits;
  return std::tuple(colorExcess, std::max(-samples, 0), std::max(samples, 0), std::max(-depth, 0),
                    std::max(depth, 0), Attribute(config, EGL_STENCIL_SIZE));
}

}  // namespace

std::optional<PixelFormat> ChoosePixelFormat(const PixelWish& wish) {
  const EGLDisplay display = OpenDisplay().egl;
  if (display == EGL_NO_DISPLAY) return std::nullopt;
  const EGLint attributes[] = {EGL_SURFACE_TYPE,
                               EGL_PBUFFER_BIT,
                               EGL_RENDERABLE_TYPE,
                               EGL_OPENGL_BIT,
                               EGL_RED_SIZE,
                               8,
                               EGL_GREEN_SIZE,
                               8,
                               EGL_BLUE_SIZE,
                               8,
                               EGL_ALPHA_SIZE,
                               8,
                               EGL_NONE};
  EGLint count = 0;
  if (!eglChooseConfig(display, attributes, nullptr, 0, &count) || count <= 0) return std::nullopt;
  std::vector<EGLConfig> configs(static_cast<std::size_t>(count));
  eglChooseConfig(display, attributes, configs.data(), count, &count);
  if (count <= 0) return std::nullopt;
  configs.resize(static_cast<std::size_t>(count));
  // The first of equals wins: EGL lists configs without a caveat before slow ones.
  const EGLConfig best = *std::min_element(
      configs.begin(), configs.end(),
      [&](EGLConfig a, EGLConfig b) { return Distance(a, wish) < Distance(b, wish); });
  return PixelFormat{best, Attribute(best, EGL_BUFFER_SIZE), Attribute(best, EGL_DEPTH_SIZE),
                     wish.doubleBuffer};
}

}  // namespace platform
