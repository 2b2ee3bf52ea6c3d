// Draws scenes off the screen through a renderer module.
#pragma once

#include <memory>
#include <string>

#include "hostkit/feed/frame_settings.h"
#include "hostkit/pictures/picture.h"
#include "hostkit/scene/camera.h"
#include "hostkit/scene/scene.h"
#include "hostkit/services/pause.h"

class GADriver;

namespace hostkit {

/// Milliseconds that the last frame took.
struct FrameTimes {
  /// Of all parts; depth counts as drawing.
  double draw = 0, readBack = 0;
};

/// A scene that was uploaded to a driver. The driver must be operational, and neither it nor the
/// scene may go before this. One frame after another on one thread.
class FrameRenderer {
 public:
  /// Uploads the scene's images as textures. On failure returns null with one line in `*error`.
  static std::unique_ptr<FrameRenderer> Create(GADriver* driver, const Scene& scene,
                                               std::string* error);
  /// Releases textures and surfaces; the driver must be there still.
  ~FrameRenderer();

  /// Asked between the pieces of what Render does. When it says that the picture is not wanted any
  /// more, Render ends soon without a bitmap and with an empty `*error`.
  void SetPause(Pause pause);

  /// Draws a frame and reads it back, with buffers of floats when the settings ask for them, of
  /// what is at a pixel's centre. "Depth": the distance from the eye along the view, in world
  /// units, and 1e30 where there is nothing. "Normal": three channels, the surface's unit normal in
  /// view space on the side that is seen, smooth where it is drawn so. "ObjectId", "MaterialId":
  /// the scene's instance or material, counted from 1. 0 where there is nothing. They are those of
  /// the model's surfaces, lines and points in every mode; what can be seen through counts as
  /// solid. On failure returns a picture without bitmap
  /// and one line in `*error`: a size that the device cannot draw (with the limit), memory, no
  /// context.
  Picture Render(const FrameSettings& settings, const View& view, std::string* error);

  /// How long Create took for the textures.
  double UploadMilliseconds() const;
  /// What the last frame took.
  const FrameTimes& LastTimes() const;
  /// GL_RENDERER and GL_VERSION of the context that frames are drawn with.
  const std::string& RendererName() const;

 private:
  struct State;
  explicit FrameRenderer(std::unique_ptr<State> state);
  std::unique_ptr<State> m_state;
};

}  // namespace hostkit
