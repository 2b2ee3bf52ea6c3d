// Draws the frames of a scene into buffers of any kind, on screen or off.
#include "hostkit/frame/frame_painter.h"

#include <algorithm>
#include <cmath>

#include "host/Animation.h"
#include "host/Colors.h"
#include "host/GABuffer.h"
#include "hostkit/feed/surface_looks.h"
#include "hostkit/services/pixel_values.h"

namespace hostkit {
namespace {

// View units that the far end of a linear fog is to be away, and what may be seen at most: products
// of three coordinates must stay floats.
constexpr float kFogUnits = 1 << 20, kMostUnits = 1 << 24;

constexpr float kIdentity[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};

// A view that reaches less far than this or farther counts in units of its own: products of three
// coordinates must stay floats, and large enough to tell them from nothing.
constexpr float kLeastReach = 1.0f / (1 << 16), kMostReach = 1 << 26;

// The view units of a world unit that the size of the view alone asks for.
float UnitForReach(float farDistance) {
  if (farDistance >= kLeastReach && farDistance <= kMostReach) return 1;
  return std::exp2(-std::round(std::log2(farDistance)));
}

// How many view units to count for a world unit. Two of the renderer's habits want an answer: it
// cuts the distances of linear fog to whole view units, which would move the fog of a model of a
// few metres; and it takes a density of exactly 1 for the wish for linear fog.
float UnitFor(const Fog& fog, float farDistance) {
  const float unit = UnitForReach(farDistance);
  if (!fog.on) return unit;
  if (fog.exponential) return fog.density == unit ? 2 * unit : unit;
  const float most = std::min(kFogUnits / fog.farDistance, kMostUnits / farDistance);
  return std::exp2(std::floor(std::log2(std::max(most, std::min(unit, 1.0f)))));
}

ColorBuf ToBytes(const float* color) {
  return {ToByte(color[0]), ToByte(color[1]), ToByte(color[2]), 255};
}

View Scaled(const View& view, float unit) {
  View scaled = view;
  scaled.camera.parallelHeight *= unit;
  scaled.nearDistance *= unit;
  scaled.farDistance *= unit;
  return scaled;
}

}  // namespace

FramePainter::FramePainter(GADriver* driver, const Scene& scene)
    : m_scene(scene),
      m_bounds(scene.Bounds()),
      m_points(SpreadOfPoints(scene)),
      m_vertices(SpreadOfVertices(scene, m_bounds)),
      m_seenLight(scene),
      m_feed(scene, m_prepared),
      m_overlays(driver) {
  m_record.ambientAmount = kAmbientAmount;
}

std::unique_ptr<FramePainter> FramePainter::Create(GADriver* driver, const Scene& scene,
                                                   std::string* error) {
  std::unique_ptr<FramePainter> painter(new FramePainter(driver, scene));
  if (!painter->m_prepared.Prepare(driver, scene, error)) return nullptr;
  return painter;
}

void FramePainter::Begin(const FrameSettings& settings, const View& view) {
  m_settings = &settings;
  View seen = view;
  if (settings.grid.on) {
    m_grid.Build(settings.grid, m_bounds, settings.upAxis.value_or(m_scene.upAxis), m_scene.origin);
    seen = m_grid.Reach(seen);
  }
  m_unit = UnitFor(settings.fog, seen.farDistance);
  m_view = Scaled(seen, m_unit);
  m_worldToView = WorldToView(view.camera);
  if (m_unit != 1) m_worldToView *= Imath::M44f().setScale(m_unit);
  BuildLights(view.camera);
  m_pointSize = static_cast<float>(settings.pointSize);
  if (settings.pointSize == 0) {
    const bool areVertices = settings.mode == DrawMode::kPoints;
    m_pointSize = PointSizeFor(areVertices ? m_vertices : m_points, view, settings.height);
  }
  m_markerSize = settings.controlPointSize == kSizeBySpacing
                     ? MarkerSizeFor(m_vertices, view, settings.height)
                     : static_cast<float>(settings.controlPointSize);
  const int side = settings.samplesPerSide;
  FillRenderInfo(m_view, settings.width * side, settings.height * side, &m_picture);

  const Fog& fog = settings.fog;
  // A unit apart at least: OpenGL divides by the distance between the two.
  const float start = std::floor(fog.nearDistance * m_unit);
  m_record.fogStart = AnimatableValue(start);
  m_record.fogEnd = AnimatableValue(std::max(fog.farDistance * m_unit, start + 1));
  m_record.fogRed = fog.color[0];
  m_record.fogGreen = fog.color[1];
  m_record.fogBlue = fog.color[2];
}

void FramePainter::BuildLights(const SceneCamera& camera) {
  const LightSet set = m_settings->lights;
  m_rig.Build(m_scene, set, camera, m_bounds, m_unit);
  if (set != LightSet::kAuto || m_scene.lights.empty()) return;
  const float aspect =
      static_cast<float>(m_settings->width) / static_cast<float>(m_settings->height);
  const float fill =
      FillFor(m_seenLight.Measure(m_scene, m_rig.Head(), m_view.camera, m_worldToView, aspect));
  if (fill > 0) m_rig.Build(m_scene, set, camera, m_bounds, m_unit, fill);
}

void FramePainter::Clear(const PaintTarget& target, const float* background) {
  target.info->scene = &m_record;
  target.info->objectToView = kIdentity;
  target.buffer->ComputeProjectionMatrices();
  const ColorBuf bytes = ToBytes(background);
  GAColor color;
  color.Set(bytes.red, bytes.green, bytes.blue, bytes.alpha);
  target.buffer->SetBackground(color);
  target.buffer->Clear();
}

FeedView FramePainter::ViewOf(const PaintTarget& target, const float* background) {
  return {m_worldToView, m_rig.Head(),        target.info, &m_picture,
          m_settings,    ToBytes(background), m_pointSize, m_markerSize};
}

void FramePainter::ApplyFog(GABuffer& buffer) const {
  const Fog& fog = m_settings->fog;
  if (!fog.on) {
    if (buffer.IsFogEnabled()) buffer.SetFogState(0);
    return;
  }
  buffer.SetFogDensity(fog.exponential ? fog.density / m_unit : 1.0f);  // 1 stands for linear
  buffer.SetFogState(1);
}

void FramePainter::Paint(const PaintTarget& target, const PixelWindow& samples,
                         const float* background) {
  const int side = m_settings->samplesPerSide;
  FillRenderInfoWindow(m_view, m_settings->width * side, m_settings->height * side, samples,
                       target.info);
  Clear(target, background);
  if (m_behind) {
    m_overlays.PaintBehind(target, m_behind, m_settings->width, m_settings->height);
    FillRenderInfoWindow(m_view, m_settings->width * side, m_settings->height * side, samples,
                         target.info);
    target.buffer->ComputeProjectionMatrices();
  }
  ApplyFog(*target.buffer);
  target.buffer->BeginScene();
  if (m_settings->grid.on) m_grid.Draw(target.list, m_worldToView, *target.info, side);
  m_feed.Draw(target.list, ViewOf(target, background));
  target.buffer->EndScene();
}

bool FramePainter::PaintOverlays(const PaintTarget& target) {
  if (m_settings->overlays.empty() && m_settings->texts.empty()) return true;
  return m_overlays.Paint(target, *m_settings, 0, 0, m_settings->width, m_settings->height);
}

bool FramePainter::PaintIds(const PaintTarget& target, const PixelWindow& pixels,
                            SeenSurfaces* seen) {
  FillRenderInfoWindow(m_view, m_settings->width, m_settings->height, pixels, target.info);
  Clear(target, kBlackBackground);
  if (target.buffer->IsFogEnabled()) target.buffer->SetFogState(0);
  return m_feed.DrawIds(target.list, ViewOf(target, kBlackBackground), seen);
}

void FramePainter::FillPasses(const SeenSurfaces& seen, const HBitmapBuffer& ids,
                              const PixelWindow& pixels, const SeenBuffers& buffers) const {
  RenderInfo info;
  FillRenderInfoWindow(m_view, m_settings->width, m_settings->height, pixels, &info);
  seen.Fill(ids, info, pixels, 1 / m_unit, buffers);
}

}  // namespace hostkit
