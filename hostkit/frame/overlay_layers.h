// Pictures and text for frames that are made of samples or of parts.
#pragma once

#include <string>
#include <vector>

#include "hostkit/feed/frame_settings.h"
#include "hostkit/frame/off_screen_surface.h"
#include "hostkit/frame/overlay_painter.h"
#include "hostkit/services/bitmap_ptr.h"

namespace hostkit {

/// The overlays of settings, each drawn by the renderer on a surface of its own and laid over
/// finished pictures. Drawn into the frame itself they would be blurred or shrunk by the averaging
/// of samples, and text, which the renderer leaves out when it begins outside a surface, would end
/// at the seams of a picture that is drawn in parts. Kept until the settings ask for others.
class OverlayLayers {
 public:
  explicit OverlayLayers(GADriver* driver) : m_driver(driver), m_painter(driver) {}

  /// Lays the overlays and texts of `settings` over `*pixels`, a picture of half floats with
  /// premultiplied alpha. False with one line in `*error` when memory or surfaces run out.
  bool LayOver(const FrameSettings& settings, HBitmapBuffer* pixels, std::string* error);

 private:
  // A rectangle of the frame and what is in it.
  struct Part {
    int x, y, width, height;
    FrameSettings content;
  };
  struct Layer {
    int x, y;
    BitmapPtr pixels;
  };

  static std::vector<Part> PartsOf(const FrameSettings& settings);
  bool Draw(const FrameSettings& settings, std::string* error);
  BitmapPtr DrawPart(OffScreenSurface& surface, const Part& part);

  GADriver* m_driver;
  OverlayPainter m_painter;
  FrameSettings m_drawn;  // what the layers were made for
  std::vector<Layer> m_layers;
};

}  // namespace hostkit
