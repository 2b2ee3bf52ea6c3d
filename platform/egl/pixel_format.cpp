// Choice of an EGL config after a few wishes.
#include "platform/egl/pixel_format.h"

#include <algorithm>
#include <tuple>
#include <vector>

#include "platform/egl/display.h"

namespace platform {
namespace {

EGLint Attribute(EGLDisplay display, EGLConfig config, EGLint name) {
  EGLint value = 0;
  eglGetConfigAttrib(display, config, name, &value);
  return value;
}

/// Configs for desktop GL with at least eight bits a channel, those without a caveat first.
std::vector<EGLConfig> ListConfigs(EGLDisplay display, EGLint surfaceTypes) {
  const EGLint attributes[] = {EGL_SURFACE_TYPE,
                               surfaceTypes,
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
  if (!eglChooseConfig(display, attributes, nullptr, 0, &count) || count <= 0) return {};
  std::vector<EGLConfig> configs(static_cast<std::size_t>(count));
  eglChooseConfig(display, attributes, configs.data(), count, &count);
  configs.resize(static_cast<std::size_t>(std::max(count, 0)));
  return configs;
}

/// The config for which `distance` is least, the first of equals; null when there is none.
template <typename Distance>
EGLConfig Nearest(const std::vector<EGLConfig>& configs, Distance distance) {
  const auto best = std::min_element(configs.begin(), configs.end(), [&](EGLConfig a, EGLConfig b) {
    return distance(a) < distance(b);
  });
  return best == configs.end() ? nullptr : *best;
}

}  // namespace

std::optional<PixelFormat> ChoosePixelFormat(const PixelWish& wish) {
  const EGLDisplay display = OpenDisplay().egl;
  if (display == EGL_NO_DISPLAY) return std::nullopt;
  EGLConfig best = nullptr;
  if (wish.doubleBuffer && wish.samples == 0) best = OpenDisplay().windowConfig;
  if (!best) {
    // Samples weigh more than depth, so that nobody gets them unasked.
    best = Nearest(ListConfigs(display, EGL_PBUFFER_BIT), [&](EGLConfig config) {
      const int colorExcess = Attribute(display, config, EGL_RED_SIZE) - 8;
      const int samples = Attribute(display, config, EGL_SAMPLES) - wish.samples;
      const int depth = Attribute(display, config, EGL_DEPTH_SIZE) - wish.depthBits;
      return std::tuple(colorExcess, std::max(-samples, 0), std::max(samples, 0),
                        std::max(-depth, 0), std::max(depth, 0),
                        Attribute(display, config, EGL_STENCIL_SIZE));
    });
  }
  if (!best) return std::nullopt;
  return PixelFormat{best, Attribute(display, best, EGL_BUFFER_SIZE),
                     Attribute(display, best, EGL_DEPTH_SIZE), wish.doubleBuffer};
}

bool HasPbufferConfig(EGLDisplay display) {
  return !ListConfigs(display, EGL_PBUFFER_BIT).empty();
}

EGLConfig ChooseWindowConfig(EGLDisplay display, EGLint preferredVisual) {
  return Nearest(ListConfigs(display, EGL_WINDOW_BIT | EGL_PBUFFER_BIT), [&](EGLConfig config) {
    return std::tuple(Attribute(display, config, EGL_RED_SIZE) - 8,
                      Attribute(display, config, EGL_NATIVE_VISUAL_ID) != preferredVisual,
                      Attribute(display, config, EGL_SAMPLES),
                      -Attribute(display, config, EGL_DEPTH_SIZE),
                      Attribute(display, config, EGL_STENCIL_SIZE));
  });
}

}  // namespace platform
