// Things that are drawn over the window, pixel for pixel.
#include "apps/gl3-view/picture_show.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>

#include "hostkit/effects/byte_image.h"

namespace view {
namespace {

constexpr int kControlPointSize = 4;  // half a side, in pixels
constexpr float kMarkerDistance = 10;
// The axes in a corner, in pixels of a window so high.
constexpr float kAxesPictureHeight = 700, kAxesMargin = 44, kAxesLength = 32, kAxesHalfWidth = 1.5f;

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

namespace {

/// Has the list draw over everything else in the pixels of the window until EndOverFrame.
DisplayList* BeginOverFrame(WindowSurface& surface) {
  hostkit::FillRenderInfo(PixelView(surface), surface.Width(), surface.Height(), surface.Info());
  surface.Buffer()->ComputeProjectionMatrices();
  DisplayList* const list = surface.List();
  list->BeginInstructions();
  list->SetTexture(nullptr);
  list->SetDepthFunc(DisplayList::kNormalBlending);
  list->SetDepthFunc(DisplayList::kLightingOff);
  list->SetDepthFunc(DisplayList::kDepthTestOff);
  list->SetProjection(GABuffer::kSceneProjection);
  return list;
}

void EndOverFrame(DisplayList* list) {
  list->FlushArrays();
  list->SetDepthFunc(DisplayList::kDepthTestOn);
  list->EndInstructions();
}

}  // namespace

void PaintControlPoints(WindowSurface& surface, const hostkit::View& view,
                        const std::vector<Imath::V3f>& places, const ColorBuf& color) {
  if (places.empty()) return;
  const Projection projection(view, surface.Width(), surface.Height());
  const float halfWidth = static_cast<float>(surface.Width()) / 2;
  const float halfHeight = static_cast<float>(surface.Height()) / 2;
  GAColor fill, rim;
  fill.Set(color.red, color.green, color.blue, color.alpha);
  rim.Set(255, 255, 255, 255);
  DisplayList* const list = BeginOverFrame(surface);
  for (const Imath::V3f& place : places) {
    const ScreenPoint at = projection.Project(place);
    if (!at.inView) continue;
    const Vector position{at.x - halfWidth, halfHeight - at.y, -kMarkerDistance};
    list->AddCP(position, kControlPointSize + 1, rim);
    list->AddCP(position, kControlPointSize, fill);
  }
  EndOverFrame(list);
}

void PaintAxes(WindowSurface& surface, const hostkit::View& view) {
  struct Axis {
    Imath::V3f end;  // in view space
    ColorBuf color;
  } axes[] = {{{1, 0, 0}, {230, 60, 60, 255}},
              {{0, 1, 0}, {70, 190, 70, 255}},
              {{0, 0, 1}, {80, 130, 255, 255}}};
  const Imath::M44f toView = hostkit::WorldToView(view.camera);
  for (Axis& axis : axes) toView.multDirMatrix(axis.end, axis.end);
  std::sort(std::begin(axes), std::end(axes),
            [](const Axis& a, const Axis& b) { return a.end.z < b.end.z; });  // the nearest last
  const float scale = static_cast<float>(surface.Height()) / kAxesPictureHeight;
  const Imath::V2f origin(static_cast<float>(surface.Width()) / 2 - kAxesMargin * scale,
                          kAxesMargin * scale - static_cast<float>(surface.Height()) / 2);
  std::vector<GALitVertex> corners;
  for (const Axis& axis : axes) {
    const Imath::V2f run = Imath::V2f(axis.end.x, axis.end.y) * (kAxesLength * scale);
    Imath::V2f along = run.length() > 0 ? run.normalized() : Imath::V2f(1, 0);
    along *= kAxesHalfWidth * scale;
    const Imath::V2f across(-along.y, along.x);
    for (const Imath::V2f& corner :
         {origin - along - across, origin - along + across, origin + run + along + across,
          origin + run + along - across}) {
      corners.push_back({corner.x, corner.y, -kMarkerDistance, axis.color.red, axis.color.green,
                         axis.color.blue, 255});
    }
  }
  static constexpr unsigned short kIndices[] = {0, 1, 2, 0, 2, 3,  4, 5,  6,
                                                4, 6, 7, 8, 9, 10, 8, 10, 11};
  std::vector<unsigned short> indices(std::begin(kIndices), std::end(kIndices));
  DisplayList* const list = BeginOverFrame(surface);
  list->AddIndexedLitTriangleList(corners.data(), corners.size(), indices.data(), indices.size(),
                                  0);
  EndOverFrame(list);
}

}  // namespace view
