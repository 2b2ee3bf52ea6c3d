// Pre-coloured triangles: batched when opaque, queued in the buffer when transparent.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "buffer/GL3Color.h"
#include "displaylist/GL3DisplayL.h"
#include "texture/GL3Texture.h"

namespace {

GALitVertexWT ColoredVertex(const Vector& position, const ColorBuf& color, const Vector2& uv) {
  return {position.x, position.y,  position.z, uv.x,       uv.y,
          color.red,  color.green, color.blue, color.alpha};
}

/// The polygon's colours do not travel with it: in the transparent pass the material colours it.
GAVertex PlainVertex(const Vector& position, const Vector2& uv) {
  return {position.x, position.y, position.z, 0, 0, 0, uv.x, uv.y};
}

/// The order of polygons by their depth keys: ascending.
bool IsBefore(float key, float other) {
  return other > key;
}

/// What is sorted in a polygon's place: sorting 100,000 polygons themselves takes 15 ms, not 11.
struct SortedPolygon {
  float depthKey;
  std::uint32_t index;
};

/// Keys that are no numbers have no place in an order and would lead the sort out of its range:
/// their polygons come last.
std::vector<SortedPolygon> SortByKey(const std::vector<VornPoly>& polygons) {
  std::vector<SortedPolygon> sorted;
  sorted.reserve(polygons.size());
  for (const VornPoly& polygon : polygons) {
    sorted.push_back({polygon.depthKey, static_cast<std::uint32_t>(sorted.size())});
  }
  const auto end = std::partition(sorted.begin(), sorted.end(),
                                  [](const SortedPolygon& p) { return !std::isnan(p.depthKey); });
  std::sort(sorted.begin(), end, [](const SortedPolygon& a, const SortedPolygon& b) {
    return IsBefore(a.depthKey, b.depthKey);
  });
  return sorted;
}

}  // namespace

GL3DisplayList::PolygonColors GL3DisplayList::ColorsOf(const VornPoly& p) {
  return {ColorBytes(p.c0), ColorBytes(p.c1), ColorBytes(p.c2)};
}

bool SortZOrder(const VornPoly& a, const VornPoly& b) {
  return IsBefore(a.depthKey, b.depthKey);
}

bool GL3DisplayList::ArePolygonsTransparent(int checkTransparency) const {
  return checkTransparency && IsStateTransparent() && m_buffer->HasState(GL3GABuffer::kDepthTestOn);
}

bool GL3DisplayList::QueueTriangle(const GAVertex& a, const GAVertex& b, const GAVertex& c) {
  return m_buffer->AddTransparentPoly(a, b, c, CurrentTexture(), m_currentMaterial,
                                      m_currentLights) != nullptr;
}

bool GL3DisplayList::QueuePolygon(const VornPoly& p) {
  return QueueTriangle(PlainVertex(p.p0, p.uv0), PlainVertex(p.p1, p.uv1),
                       PlainVertex(p.p2, p.uv2));
}

void GL3DisplayList::AppendPolygon(const VornPoly& p, const PolygonColors& colors) {
  const auto base = static_cast<std::uint32_t>(m_coloredTextured.indices.Size());
  m_coloredTextured.vertices.Append(ColoredVertex(p.p0, colors.c0, p.uv0),
                                    ColoredVertex(p.p1, colors.c1, p.uv1),
                                    ColoredVertex(p.p2, colors.c2, p.uv2));
  m_coloredTextured.AddTriangle(base);
}

void GL3DisplayList::AddTransformedPolygon(const VornPoly& polygon, int checkTransparency) {
  if (ArePolygonsTransparent(checkTransparency) && m_buffer->MakeRoomForTransparentPolys(1) &&
      QueuePolygon(polygon)) {
    return;
  }
  StartAppending(m_coloredTextured.indices.Size());
  AppendPolygon(polygon, ColorsOf(polygon));
}

void GL3DisplayList::AddTransformedPolygons(const VornPoly* polygons, int count,
                                            int checkTransparency) {
  std::vector<VornPoly> copies;
  if (count > 0) copies.assign(polygons, polygons + count);
  const std::vector<SortedPolygon> sorted = SortByKey(copies);

  auto next = sorted.cbegin();
  if (ArePolygonsTransparent(checkTransparency) && m_buffer->MakeRoomForTransparentPolys(count)) {
    // A new queue promises room for any count. What it cannot hold is drawn like the rest.
    while (next != sorted.cend() && QueuePolygon(copies[next->index])) ++next;
    if (next == sorted.cend()) return;
  }
  StartAppending(m_coloredTextured.indices.Size());
  // Colours lie all over the memory: in the order of their making they are quickest to find.
  std::vector<PolygonColors> colors;
  colors.reserve(copies.size());
  for (const VornPoly& polygon : copies) colors.push_back(ColorsOf(polygon));
  for (; next != sorted.cend(); ++next) AppendPolygon(copies[next->index], colors[next->index]);
}
