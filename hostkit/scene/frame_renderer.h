// Draws scenes through a renderer module, exactly as any host would.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "hostkit/scene/camera.h"
#include "hostkit/scene/light_sets.h"
#include "hostkit/scene/picture.h"
#include "hostkit/scene/scene.h"

class GADriver;

namespace hostkit {

struct FrameSettings {
  int width = 1280, height = 720;
  int samplesPerSide = 1;  ///< Anti-aliasing: n x n samples a pixel, 1 to 4.
  /// Background, display-referred, 0 to 1. Unused when `transparentBackground` is set.
  float background[3] = {0.16f, 0.17f, 0.19f};
  /// Alpha tells what the scene covers. The scene is drawn on black and on white, so that glass
  /// and anti-aliased edges come out with their true coverage.
  bool transparentBackground = false;
  LightSet lights = LightSet::kAuto;
};

/// Milliseconds that the last frame took.
struct FrameTimes {
  double draw = 0, readBack = 0;
};

/// A scene that was uploaded to a driver. The driver must be operational, and neither it nor the
/// scene may go before this. One frame after another on one thread.
class FrameRenderer {
 public:
  /// Uploads the scene's images as textures. On failure returns null with one line in `*error`.
  static std::unique_ptr<FrameRenderer> Create(GADriver* driver, const Scene& scene,
                                               std::string* error);
  ~FrameRenderer();

  /// Draws a frame and reads it back. On failure returns a picture without bitmap and one line in
  /// `*error`: a size that the device cannot draw (with the limit), memory, no context.
  Picture Render(const FrameSettings& settings, const View& view, std::string* error);

  double UploadMilliseconds() const;
  const FrameTimes& LastTimes() const;
  /// GL_RENDERER and GL_VERSION of the context that frames are drawn with.
  const std::string& RendererName() const;

 private:
  struct State;
  explicit FrameRenderer(std::unique_ptr<State> state);
  std::unique_ptr<State> m_state;
};

}  // namespace hostkit
