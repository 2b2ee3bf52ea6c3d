// What is seen at which pixel, and how far away it is.
#include "hostkit/feed/seen_surfaces.h"

#include <algorithm>

#include "hostkit/services/pixel_values.h"

namespace hostkit {

using Imath::V3f;

std::uint32_t SeenSurfaces::Add(const Plane& plane) {
  m_planes.push_back(plane);
  return static_cast<std::uint32_t>(m_planes.size());
}

std::uint32_t SeenSurfaces::AddTriangle(const V3f& a, const V3f& b, const V3f& c) {
  const V3f normal = (b - a).cross(c - a).normalized();
  return Add({normal, normal.dot(a), -std::max({a.z, b.z, c.z}), -std::min({a.z, b.z, c.z})});
}

// The plane through the line that faces the eye most.
std::uint32_t SeenSurfaces::AddLine(const V3f& a, const V3f& b) {
  const V3f along = (b - a).normalized();
  const V3f normal = along.cross(V3f(0, 0, 1).cross(along)).normalized();
  return Add({normal, normal.dot(a), -std::max(a.z, b.z), -std::min(a.z, b.z)});
}

std::uint32_t SeenSurfaces::AddPoint(const V3f& point) {
  return Add({V3f(0, 0, 1), point.z, -point.z, -point.z});
}

// Depth of the plane on the ray through a pixel's centre. Seen nearly edge on, the ray may miss
// what the pixel shows; the limits keep the depth on it.
float SeenSurfaces::DepthAt(const Plane& plane, float x, float y, const RenderInfo& info) const {
  const V3f& n = plane.normal;
  const float viewX = (x + 0.5f - info.originX) / info.scaleX;
  const float viewY = (info.originY - (y + 0.5f)) / info.scaleY;
  const float depth =
      info.perspective == 0
          ? (n.x * viewX + n.y * viewY - plane.offset) / n.z
          : plane.offset * info.perspective / -(n.x * viewX + n.y * viewY + n.z * info.perspective);
  const float nearest = std::max(plane.nearest, -info.nearZ);
  return depth > nearest ? std::min(depth, std::max(plane.farthest, nearest)) : nearest;
}

void SeenSurfaces::FillDepths(const HBitmapBuffer& ids, const RenderInfo& info,
                              const PixelWindow& window, float scale, HBitmapBuffer* depths) const {
  const auto& bytes = HalfToByte();
  for (int y = 0; y < window.height; ++y) {
    const auto* id = static_cast<const std::uint16_t*>(ids.Data()) +
                     static_cast<std::ptrdiff_t>(y) * ids.RowStep();
    float* depth = static_cast<float*>(depths->Data()) +
                   static_cast<std::ptrdiff_t>(window.y + y) * depths->RowStep() + window.x;
    for (int x = 0; x < window.width; ++x, id += 4, ++depth) {
      const std::size_t index = bytes[id[2]] << 16 | bytes[id[1]] << 8 | bytes[id[0]];
      *depth = kNothingSeen;
      if (index == 0 || index > m_planes.size()) continue;
      *depth =
          DepthAt(m_planes[index - 1], static_cast<float>(x), static_cast<float>(y), info) * scale;
    }
  }
}

}  // namespace hostkit
