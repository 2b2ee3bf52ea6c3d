// What is seen at which pixel, and how far away it is.
#pragma once

#include <Imath/ImathVec.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/Bitmap.h"
#include "host/RenderInfo.h"
#include "hostkit/scene/camera_window.h"

namespace hostkit {

/// The distance of pixels that see nothing; finite.
constexpr float kNothingSeen = 1e30f;

/// The planes of all that was drawn in a frame of ids; see SceneFeed::DrawIds. View space.
class SeenSurfaces {
 public:
  /// Ids are colours of 24 bits, and 0 is the background.
  static constexpr std::size_t kMost = (1u << 24) - 1;

  void Clear() { m_planes.clear(); }
  bool IsFull() const { return m_planes.size() >= kMost; }
  /// Each returns the id of what was added, from 1.
  std::uint32_t AddTriangle(const Imath::V3f& a, const Imath::V3f& b, const Imath::V3f& c);
  std::uint32_t AddLine(const Imath::V3f& a, const Imath::V3f& b);
  std::uint32_t AddPoint(const Imath::V3f& point);

  /// Distances from the eye along the view, in view units times `scale`, at the centres of the
  /// pixels of `window`. `ids` are the pixels read back (half floats, as ColorAlpha), `info` is the
  /// view of a surface whose top left pixel is the window's; `depths` has one float a pixel.
  void FillDepths(const HBitmapBuffer& ids, const RenderInfo& info, const PixelWindow& window,
                  float scale, HBitmapBuffer* depths) const;

 private:
  // normal . p = offset; what is seen of it lies between the two depths (positive).
  struct Plane {
    Imath::V3f normal;
    float offset, nearest, farthest;
  };
  std::uint32_t Add(const Plane& plane);
  float DepthAt(const Plane& plane, float x, float y, const RenderInfo& info) const;

  std::vector<Plane> m_planes;
};

}  // namespace hostkit
