// The part of a view that one drawing surface holds: large pictures are drawn in tiles.
#pragma once

#include "host/RenderInfo.h"
#include "hostkit/scene/camera.h"

namespace hostkit {

/// Pixels of a picture that a surface shows; x and y count from the picture's top left.
struct PixelWindow {
  int x = 0, y = 0, width = 0, height = 0;
};

/// FillRenderInfo for a surface that shows `window` of a picture of `width` x `height` pixels. The
/// pixel coordinates in `*info` are the surface's own. Windows that meet see the same camera: a
/// pixel centre maps to the same ray in whatever window it lies.
void FillRenderInfoWindow(const View& view, int width, int height, const PixelWindow& window,
                          RenderInfo* info);

}  // namespace hostkit
