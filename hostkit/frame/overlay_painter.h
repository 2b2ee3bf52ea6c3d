// Pictures and text over a frame.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "host/DisplayList.h"
#include "host/GABuffer.h"
#include "host/GADriver.h"
#include "host/GATexture.h"
#include "host/RenderInfo.h"
#include "host/Vectors.h"
#include "hostkit/feed/frame_settings.h"

namespace hostkit {

/// What is drawn on: a buffer, a display list on it, and the record that both were made with.
struct PaintTarget {
  GABuffer* buffer = nullptr;
  DisplayList* list = nullptr;
  RenderInfo* info = nullptr;
};

/// Draws the overlays and texts of settings into buffers, pixel for pixel. Keeps the pictures'
/// textures. The driver must outlive it.
class OverlayPainter {
 public:
  explicit OverlayPainter(GADriver* driver) : m_driver(driver) {}

  /// Draws all of them, the overlays first, on a surface of `width` x `height` pixels whose top
  /// left is (`left`, `top`) of the frame. Over what is there, whatever its depth. The target's
  /// record is left with a view of the surface's pixels. Text needs a buffer on a window, or
  /// MakeFonts; what begins left of the surface or ends above or below it is left out. False when
  /// memory ran out for a picture, which is then missing.
  bool Paint(const PaintTarget& target, const FrameSettings& settings, int left, int top, int width,
             int height);

  /// Draws a picture of the surface's `width` x `height` pixels behind all that is drawn
  /// afterwards, into a buffer that was cleared. Leaves the target's record as Paint does. False
  /// when memory ran out.
  bool PaintBehind(const PaintTarget& target, const std::shared_ptr<HBitmapNode>& picture,
                   int width, int height);

  /// Makes the fonts for buffers that are not on a window; once is enough.
  void MakeFonts();

 private:
  // A part of a picture; its texture is a little larger.
  struct Tile {
    int x, y, width, height;
    Vector2 extent;  // of the part in the texture
    std::unique_ptr<GATexture> texture;
  };
  struct Uploaded {
    // Keeps the address from being used again. Null while not all tiles are there.
    std::shared_ptr<HBitmapNode> bitmap;
    std::vector<Tile> tiles;
  };
  // To be called with a context current. Null without memory.
  const std::vector<Tile>* TilesOf(const OverlayPicture& picture);
  bool Blit(GABuffer& buffer, const OverlayPicture& picture, int left, int top, float z);
  void Begin(const PaintTarget& target, int width, int height, float far);
  void ForgetPictures();

  GADriver* m_driver;
  std::map<const HBitmapNode*, Uploaded> m_textures;
  bool m_hasFonts = false;
};

}  // namespace hostkit
