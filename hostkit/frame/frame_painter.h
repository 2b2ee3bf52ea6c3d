// Draws the frames of a scene into buffers of any kind, on screen or off.
#pragma once

#include <Imath/ImathBox.h>
#include <Imath/ImathMatrix.h>

#include <memory>
#include <string>
#include <utility>

#include "host/RenderInfo.h"
#include "hostkit/feed/frame_settings.h"
#include "hostkit/feed/light_sets.h"
#include "hostkit/feed/mesh_preparation.h"
#include "hostkit/feed/point_size.h"
#include "hostkit/feed/scene_feed.h"
#include "hostkit/feed/seen_light.h"
#include "hostkit/feed/seen_surfaces.h"
#include "hostkit/frame/ground_grid.h"
#include "hostkit/frame/overlay_painter.h"
#include "hostkit/scene/camera.h"
#include "hostkit/scene/camera_window.h"
#include "hostkit/scene/scene.h"
#include "hostkit/services/pause.h"

class GADriver;

namespace hostkit {

/// The background of what is measured rather than shown: ids, and coverage in two frames.
constexpr float kBlackBackground[3] = {0, 0, 0};

/// A scene that was uploaded to a driver, and drawing it. A frame is Begin, Paint for each surface
/// that holds a part of it, and for a viewer PaintOverlays. The driver must be operational, and
/// neither it nor the scene may go before this. Instances and lights of the scene, and the vertices
/// of meshes that are deformed, may change from frame to frame; grid, light ranges and the size of
/// points that have none keep to what the scene was at Create. Between Paint and EndScene, which
/// Paint calls, the buffer points to materials, lights and the scene record in here. One thread.
class FramePainter {
 public:
  /// Uploads the scene's images as textures. On failure returns null with one line in `*error`.
  static std::unique_ptr<FramePainter> Create(GADriver* driver, const Scene& scene,
                                              std::string* error);
  FramePainter(const FramePainter&) = delete;
  FramePainter& operator=(const FramePainter&) = delete;

  /// Asked while Paint goes on: see SceneFeed. What was painted is not a frame when it said no.
  void SetPause(Pause pause) { m_feed.SetPause(std::move(pause)); }

  /// What Paint puts behind the scene in place of the background's colour: a picture of bytes
  /// ("Color") of the frame's size. Null: nothing. For frames that are painted whole.
  void SetBehind(std::shared_ptr<HBitmapNode> picture) { m_behind = std::move(picture); }

  /// Prepares lights, fog and planes for a frame of `settings`, which must live until the frame's
  /// last call and are not changed.
  void Begin(const FrameSettings& settings, const View& view);

  /// Clears the target and draws the scene with its grid and markers. `samples` is the part of the
  /// frame that the target's surface shows, in samples (settings.samplesPerSide to a pixel).
  /// `background` is display-referred, 0 to 1. Overlays and text are left out.
  void Paint(const PaintTarget& target, const PixelWindow& samples, const float* background);

  /// Draws overlays and text over what Paint drew, for frames with one sample a pixel on one
  /// surface: a viewer's. Text needs a buffer on a window. False when memory ran out for an
  /// overlay.
  bool PaintOverlays(const PaintTarget& target);

  /// Draws ids instead (SceneFeed::DrawIds) with one sample a pixel; `pixels` is the part of the
  /// frame that the surface shows. False when the scene has more parts than there are ids.
  bool PaintIds(const PaintTarget& target, const PixelWindow& pixels, SeenSurfaces* seen);

  /// Reads what is wanted from a frame of ids: `ids` are the pixels of `pixels`, read back;
  /// distances are in world units.
  void FillPasses(const SeenSurfaces& seen, const HBitmapBuffer& ids, const PixelWindow& pixels,
                  const SeenBuffers& buffers) const;

 private:
  FramePainter(GADriver* driver, const Scene& scene);
  void BuildLights(const SceneCamera& camera);
  void Clear(const PaintTarget& target, const float* background);
  FeedView ViewOf(const PaintTarget& target, const float* background);
  void ApplyFog(GABuffer& buffer) const;

  const Scene& m_scene;
  Imath::Box3f m_bounds;
  PointSpread m_points, m_vertices;
  SeenLight m_seenLight;
  PreparedScene m_prepared;
  SceneFeed m_feed;
  OverlayPainter m_overlays;
  LightRig m_rig;
  SceneRecord m_record;
  GridLines m_grid;

  // The frame at hand.
  const FrameSettings* m_settings = nullptr;
  float m_unit = 1;  // view units in a world unit
  View m_view;       // in view units
  std::shared_ptr<HBitmapNode> m_behind;
  float m_pointSize = 1, m_markerSize = 0;
  Imath::M44f m_worldToView;
  RenderInfo m_picture;  // as of a surface that held all of it
};

}  // namespace hostkit
