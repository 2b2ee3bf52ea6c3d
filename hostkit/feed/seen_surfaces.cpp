// What is seen at which pixel: how far away it is, how it lies, and what it belongs to.
#include "hostkit/feed/seen_surfaces.h"

#include <algorithm>
#include <iterator>

#include "hostkit/services/pixel_values.h"

namespace hostkit {

using Imath::V3f;

namespace {

/// Shares of three corners at a place on their triangle, or next to it.
V3f SharesAt(const V3f& place, const V3f (&corners)[3]) {
  const V3f b = corners[1] - corners[0], c = corners[2] - corners[0], p = place - corners[0];
  const float bb = b.dot(b), bc = b.dot(c), cc = c.dot(c), pb = p.dot(b), pc = p.dot(c);
  const float divisor = bb * cc - bc * bc;
  if (!(divisor > 0)) return {1, 0, 0};
  const float ofB = std::clamp((cc * pb - bc * pc) / divisor, 0.0f, 1.0f);
  const float ofC = std::clamp((bb * pc - bc * pb) / divisor, 0.0f, 1.0f - ofB);
  return {1 - ofB - ofC, ofB, ofC};
}

/// Where pixel (x, y) of the surface sees something at a depth.
V3f PlaceAt(float x, float y, float depth, const RenderInfo& info) {
  const float viewX = (x + 0.5f - info.originX) / info.scaleX;
  const float viewY = (info.originY - (y + 0.5f)) / info.scaleY;
  if (info.perspective == 0) return {viewX, viewY, -depth};
  return V3f(viewX, viewY, info.perspective) * (-depth / info.perspective);
}

/// The numbers of a pixel in a buffer; null without one.
float* FloatsAt(HBitmapBuffer* buffer, int x, int y) {
  if (!buffer) return nullptr;
  return static_cast<float*>(buffer->Data()) + static_cast<std::ptrdiff_t>(y) * buffer->RowStep() +
         static_cast<std::ptrdiff_t>(x) * buffer->PixelStep();
}

}  // namespace

void SeenSurfaces::Clear(bool keepsNormals) {
  m_planes.clear();
  m_corners.clear();
  m_owners.clear();
  m_keepsNormals = keepsNormals;
}

void SeenSurfaces::BeginInstance(int instance, int material) {
  m_owners.push_back({m_planes.size(), instance, material});
}

std::uint32_t SeenSurfaces::Add(const Plane& plane, const Corners& corners) {
  m_planes.push_back(plane);
  if (m_keepsNormals) m_corners.push_back(corners);
  return static_cast<std::uint32_t>(m_planes.size());
}

std::uint32_t SeenSurfaces::AddTriangle(const V3f (&places)[3], const V3f (&normals)[3]) {
  const auto& [a, b, c] = places;
  const V3f normal = (b - a).cross(c - a).normalized();
  return Add({normal, normal.dot(a), -std::max({a.z, b.z, c.z}), -std::min({a.z, b.z, c.z})},
             {{a, b, c}, {normals[0], normals[1], normals[2]}});
}

// The plane through the line that faces the eye most.
std::uint32_t SeenSurfaces::AddLine(const V3f& a, const V3f& b) {
  const V3f along = (b - a).normalized();
  const V3f normal = along.cross(V3f(0, 0, 1).cross(along)).normalized();
  return Add({normal, normal.dot(a), -std::max(a.z, b.z), -std::min(a.z, b.z)}, {});
}

std::uint32_t SeenSurfaces::AddPoint(const V3f& point) {
  return Add({V3f(0, 0, 1), point.z, -point.z, -point.z}, {});
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

// Of the smooth surface at a place on the triangle, or of the plane, on the side that is seen.
V3f SeenSurfaces::NormalAt(std::size_t index, const V3f& place, bool isParallel) const {
  const V3f& flat = m_planes[index].normal;
  const Corners& corners = m_corners[index];
  const bool facesAway = isParallel ? flat.z < 0 : flat.dot(place) > 0;
  const V3f towards = facesAway ? -flat : flat;
  const V3f shares = SharesAt(place, corners.places);
  const V3f smooth = (corners.normals[0] * shares.x + corners.normals[1] * shares.y +
                      corners.normals[2] * shares.z)
                         .normalized();
  if (smooth == V3f(0)) return towards;
  return smooth.dot(towards) < 0 ? -smooth : smooth;
}

const SeenSurfaces::Owner& SeenSurfaces::OwnerOf(std::size_t index) const {
  const auto next =
      std::upper_bound(m_owners.begin(), m_owners.end(), index,
                       [](std::size_t at, const Owner& owner) { return at < owner.first; });
  return *std::prev(next);
}

void SeenSurfaces::Fill(const HBitmapBuffer& ids, const RenderInfo& info, const PixelWindow& window,
                        float scale, const SeenBuffers& buffers) const {
  const auto& bytes = HalfToByte();
  for (int y = 0; y < window.height; ++y) {
    const auto* id = static_cast<const std::uint16_t*>(ids.Data()) +
                     static_cast<std::ptrdiff_t>(y) * ids.RowStep();
    for (int x = 0; x < window.width; ++x, id += 4) {
      const int toX = window.x + x, toY = window.y + y;
      float* const depth = FloatsAt(buffers.depths, toX, toY);
      float* const normal = FloatsAt(buffers.normals, toX, toY);
      float* const object = FloatsAt(buffers.objects, toX, toY);
      float* const material = FloatsAt(buffers.materials, toX, toY);
      const std::size_t number = bytes[id[2]] << 16 | bytes[id[1]] << 8 | bytes[id[0]];
      const bool isSeen = number > 0 && number <= m_planes.size();
      const auto column = static_cast<float>(x), row = static_cast<float>(y);
      const float seenDepth = isSeen ? DepthAt(m_planes[number - 1], column, row, info) : 0;
      V3f seenNormal(0);
      if (isSeen && normal) {
        seenNormal =
            NormalAt(number - 1, PlaceAt(column, row, seenDepth, info), info.perspective == 0);
      }
      if (depth) *depth = isSeen ? seenDepth * scale : kNothingSeen;
      if (normal) std::copy_n(&seenNormal.x, 3, normal);
      if (object) *object = isSeen ? static_cast<float>(OwnerOf(number - 1).instance + 1) : 0;
      if (material) *material = isSeen ? static_cast<float>(OwnerOf(number - 1).material + 1) : 0;
    }
  }
}

}  // namespace hostkit
