// Things that are drawn over the window, pixel for pixel.
#include "apps/gl3-view/picture_show.h"

#include <memory>
#include <utility>

#include "hostkit/effects/byte_image.h"

namespace view {
namespace {

constexpr int kControlPointSize = 4;  // half a side, in pixels
constexpr float kMarkerDistance = 10;

/// A parallel view whose units are pixels, with the origin in the middle and y up.
hostkit::View PixelView(const WindowSurface& surface) {
  hostkit::View view;
  view.camera.parallelHeight = static_cast<float>(surface.Height());
  view.nearDistance = 1;
  view.farDistance = 2 * kMarkerDistance;
  return view;
}

}  // namespace

bool PictureShow::Take(const hostkit::Picture& picture) {
  hostkit::BitmapPtr bytes = hostkit::BytesFromHalves(*picture.bitmap);
  if (!bytes) return false;
  for (int y = 0; y < bytes->GetHeight(); ++y) {
    unsigned char* const row = hostkit::ByteRow(*bytes, y);
    // An opaque picture's means nothing.
    for (int x = 0; x < bytes->GetWidth(); ++x) row[4 * x + 3] = 255;
  }
  m_settings.overlays.clear();
  m_settings.overlays.push_back({std::shared_ptr<HBitmapNode>(std::move(bytes)), 0, 0, 1});
  return true;
}

bool PictureShow::Paint(WindowSurface& surface) {
  surface.Buffer()->Clear();
  return m_painter.Paint(surface.Target(), m_settings, 0, 0, surface.Width(), surface.Height());
}

Projection::Projection(const hostkit::View& view, int width, int height)
    : m_worldToView(hostkit::WorldToView(view.camera)) {
  hostkit::FillRenderInfo(view, width, height, &m_info);
}

ScreenPoint Projection::Project(const Imath::V3f& world) const {
  const Imath::V3f p = world * m_worldToView;
  ScreenPoint point;
  point.depth = -p.z;
  point.inView = p.z < m_info.nearZ && p.z > m_info.farZ;
  const float shrink = m_info.perspective != 0 ? m_info.perspective / p.z : 1;
  point.x = m_info.originX + p.x * shrink * m_info.scaleX;
  point.y = m_info.originY - p.y * shrink * m_info.scaleY;
  return point;
}

void PaintControlPoints(WindowSurface& surface, const hostkit::View& view,
                        const std::vector<Imath::V3f>& places) {
  if (places.empty()) return;
  const Projection projection(view, surface.Width(), surface.Height());
  const float halfWidth = static_cast<float>(surface.Width()) / 2;
  const float halfHeight = static_cast<float>(surface.Height()) / 2;
  hostkit::FillRenderInfo(PixelView(surface), surface.Width(), surface.Height(), surface.Info());
  surface.Buffer()->ComputeProjectionMatrices();
  GAColor fill, rim;
  fill.Set(255, 90, 0, 255);
  rim.Set(255, 255, 255, 255);
  DisplayList* const list = surface.List();
  list->BeginInstructions();
  list->SetTexture(nullptr);
  list->SetDepthFunc(DisplayList::kNormalBlending);
  list->SetDepthFunc(DisplayList::kLightingOff);
  list->SetDepthFunc(DisplayList::kDepthTestOff);
  list->SetProjection(GABuffer::kSceneProjection);
  for (const Imath::V3f& place : places) {
    const ScreenPoint at = projection.Project(place);
    if (!at.inView) continue;
    const Vector position{at.x - halfWidth, halfHeight - at.y, -kMarkerDistance};
    list->AddCP(position, kControlPointSize + 1, rim);
    list->AddCP(position, kControlPointSize, fill);
  }
  list->FlushArrays();
  list->SetDepthFunc(DisplayList::kDepthTestOn);
  list->EndInstructions();
}

}  // namespace view
