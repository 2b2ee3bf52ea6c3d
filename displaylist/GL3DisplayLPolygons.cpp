// Pre-coloured triangles: batched when opaque, queued in the buffer when transparent.
#include <algorithm>
#include <vector>

#include "buffer/GL3Color.h"
#include "displaylist/GL3DisplayL.h"
#include "texture/GL3Texture.h"

namespace {

GALitVertexWT ColoredVertex(const Vector& position, const GAColor& color, const Vector2& uv) {
  const ColorBuf bytes = ColorBytes(color);
  return {position.x, position.y,  position.z, uv.x,       uv.y,
          bytes.red,  bytes.green, bytes.blue, bytes.alpha};
}

/// The polygon's colours do not travel with it: in the transparent pass the material colours it.
GAVertex PlainVertex(const Vector& position, const Vector2& uv) {
  return {position.x, position.y, position.z, 0, 0, 0, uv.x, uv.y};
}

}  // namespace

bool SortZOrder(const VornPoly& a, const VornPoly& b) {
  return b.depthKey > a.depthKey;
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

void GL3DisplayList::AppendPolygon(const VornPoly& p) {
  const auto base = static_cast<std::uint32_t>(m_coloredTextured.indices.size());
  m_coloredTextured.vertices.insert(
      m_coloredTextured.vertices.end(),
      {ColoredVertex(p.p0, p.c0, p.uv0), ColoredVertex(p.p1, p.c1, p.uv1),
       ColoredVertex(p.p2, p.c2, p.uv2)});
  m_coloredTextured.AddIndices(base, {0, 1, 2});
}

void GL3DisplayList::AddTransformedPolygon(const VornPoly& polygon, int checkTransparency) {
  if (ArePolygonsTransparent(checkTransparency) && m_buffer->MakeRoomForTransparentPolys(1) &&
      QueuePolygon(polygon)) {
    return;
  }
  StartAppending(m_coloredTextured.indices.size());
  AppendPolygon(polygon);
}

void GL3DisplayList::AddTransformedPolygons(const VornPoly* polygons, int count,
                                            int checkTransparency) {
  std::vector<VornPoly> sorted;
  if (count > 0) sorted.assign(polygons, polygons + count);
  std::sort(sorted.begin(), sorted.end(), SortZOrder);

  auto next = sorted.cbegin();
  if (ArePolygonsTransparent(checkTransparency) && m_buffer->MakeRoomForTransparentPolys(count)) {
    // A new queue promises room for any count. What it cannot hold is drawn like the rest.
    while (next != sorted.cend() && QueuePolygon(*next)) ++next;
    if (next == sorted.cend()) return;
  }
  StartAppending(m_coloredTextured.indices.size());
  for (; next != sorted.cend(); ++next) AppendPolygon(*next);
}
