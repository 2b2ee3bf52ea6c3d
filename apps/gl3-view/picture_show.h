// Things that are drawn over the window, pixel for pixel.
#pragma once

#include <Imath/ImathVec.h>

#include <memory>
#include <vector>

#include "apps/gl3-view/window_surface.h"
#include "hostkit/frame/overlay_painter.h"
#include "hostkit/pictures/picture.h"
#include "hostkit/scene/camera.h"

namespace view {

/// A finished picture in the window in place of a frame.
class PictureShow {
 public:
  explicit PictureShow(GADriver* driver) : m_painter(driver) {}

  /// Takes a picture that was drawn at the window's size. False without memory.
  bool Take(const hostkit::Picture& picture);
  /// Draws it over all of the surface; does not show that yet. False without memory.
  bool Paint(WindowSurface& surface);

 private:
  hostkit::OverlayPainter m_painter;
  hostkit::FrameSettings m_settings;  // nothing but the picture
};

/// Where a world-space point is seen in a frame of `width` x `height` pixels.
struct ScreenPoint {
  float x = 0, y = 0;   ///< Pixels from the frame's top left.
  float depth = 0;      ///< World units in front of the eye.
  bool inView = false;  ///< Between the clipping planes.
};
/// Projects points of one view, by the rule that the renderer maps pixels with.
class Projection {
 public:
  Projection(const hostkit::View& view, int width, int height);
  ScreenPoint Project(const Imath::V3f& world) const;

 private:
  Imath::M44f m_worldToView;
  RenderInfo m_info;
};

/// Draws control points at world-space `places` over everything else, in the pixels of `view`.
void PaintControlPoints(WindowSurface& surface, const hostkit::View& view,
                        const std::vector<Imath::V3f>& places, const ColorBuf& color);

/// Draws the directions of the world's axes in the lower right corner, where no scale bar is: x
/// red, y green, z blue.
void PaintAxes(WindowSurface& surface, const hostkit::View& view);

}  // namespace view
