// The host's render settings and view for one frame.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/Animation.h"

class CWnd;
class GABuffer;

/// Light that comes from everywhere.
struct LightingEnvironment {
  /// The colour below is added to the ambient colour of materials, times their base colour; in
  /// other modes the scene's ambientAmount is.
  static constexpr int kAmbientColorMode = 1;

  int mode = 0;  ///< kAmbientColorMode, or any other number.
  /// Colour, 0 to 1 nominally.
  float ambientRed = 0, ambientGreen = 0, ambientBlue = 0;
  float ambientIntensity = 0;  ///< A factor of that colour.
};
static_assert(sizeof(LightingEnvironment) == 20 && offsetof(LightingEnvironment, ambientRed) == 4 &&
              offsetof(LightingEnvironment, ambientGreen) == 8 &&
              offsetof(LightingEnvironment, ambientBlue) == 12 &&
              offsetof(LightingEnvironment, ambientIntensity) == 16);

/// What the scene contributes to a frame beside its objects. Fog is read by GABuffer::SetFogState,
/// the ambient light whenever a material is set.
struct SceneRecord {
  /// Of linear fog: where it begins, in view units from the eye, cut to whole ones (0.7 is 0, so
  /// that a small scene is drawn in smaller units). The module brings both up to date itself.
  AnimatableValue fogStart;
  AnimatableValue fogEnd;  ///< Where nothing but fog is seen; likewise.
  /// Colour of the fog, 0 to 1.
  float fogRed = 0, fogGreen = 0, fogBlue = 0;
  float ambientAmount = 0;  ///< Global ambient, 0 to 1.
};
static_assert(sizeof(SceneRecord) == 48 && offsetof(SceneRecord, fogEnd) == 16 &&
              offsetof(SceneRecord, fogRed) == 32 && offsetof(SceneRecord, fogGreen) == 36 &&
              offsetof(SceneRecord, fogBlue) == 40 && offsetof(SceneRecord, ambientAmount) == 44);

/// View of one frame. View space is right-handed, y up, and looks down negative z: `nearZ` and
/// `farZ` are negative for planes in front of the eye. A pixel, counted from the top left, maps to
/// view space as x = (pixel x - originX) / scaleX - offsetX and y = (originY - pixel y) / scaleY -
/// offsetY; under perspective times z / perspective. The host sees to it that this and the window
/// at the near plane agree: the module computes projections from the window and places overlays and
/// markers by the scales. hostkit::FillRenderInfo fills all that a camera determines.
///
/// The module keeps the pointer that it is given and never owns the record: it must outlive every
/// buffer, display list and shader program made with it. It is read whenever something is drawn, so
/// that a change takes effect with the next call; the projections alone wait for
/// GABuffer::ComputeProjectionMatrices.
struct RenderInfo {
  /// Bit of `flags`: flat materials, without ambient and specular light.
  static constexpr std::uint8_t kFlatMaterials = 2;

  /// What display lists draw into; a buffer of the current driver. Set before the list is made, and
  /// left alone while the list lives, which remembers it. Not owned.
  GABuffer* buffer = nullptr;
  LightingEnvironment environment;  ///< Light that comes from everywhere.
  CWnd* viewWindow = nullptr;       ///< May be null: nothing is on screen. Not owned.
  SceneRecord* scene = nullptr;     ///< May be null: no ambient light, black fog. Not owned.
  /// 3 x 4, rows of four, translation in the fourth column. Null stands for the identity, but for
  /// DisplayList::TransformAndAddVertex, which needs it. Not owned.
  const float* objectToView = nullptr;
  /// Pixels a view unit; under perspective at z = `perspective`.
  float scaleX = 1, scaleY = 1;
  /// View units: what is added to a point of view space before it is scaled to pixels.
  float offsetX = 0, offsetY = 0;
  float perspective = 0;  ///< 0: parallel. Else the view-space z (negative) at which scales hold.
  /// View-space z of the planes between which things are seen: farZ < nearZ, both below 0. What is
  /// drawn at another z, 0 for one, is clipped, without an error.
  float nearZ = -1, farZ = -1000;
  /// Pixels from the top left of the surface to where the view's axis meets it.
  float originX = 0, originY = 0;
  /// Window of the view at the near plane, in view units; of parallel views at every depth. From
  /// the scales it is viewLeft = ((pixelLeft - originX) / scaleX - offsetX) * d, viewRight
  /// likewise, and viewTop = ((originY - pixelTop) / scaleY - offsetY) * d, viewBottom likewise,
  /// where d is nearZ / perspective under perspective, and 1 in parallel views.
  float viewLeft = -1, viewRight = 1, viewTop = 1, viewBottom = -1;
  /// Pixels of the picture: what GABuffer::Blit keeps, and the surface that effects draw with.
  std::int32_t imageWidth = 0, imageHeight = 0;
  /// Edges of the picture in pixels, y downwards: 0, width, 0, height as a rule. The projection of
  /// the screen shows what lies between them, and overlays outside are left out.
  std::int32_t pixelLeft = 0, pixelRight = 0, pixelTop = 0, pixelBottom = 0;
  std::uint8_t flags = 0;  ///< kFlatMaterials, or 0.
};
// A host of another compiler has to lay the record out alike.
static_assert(offsetof(RenderInfo, buffer) == 0 && offsetof(RenderInfo, environment) == 8 &&
              offsetof(RenderInfo, viewWindow) == 32 && offsetof(RenderInfo, scene) == 40 &&
              offsetof(RenderInfo, objectToView) == 48 && offsetof(RenderInfo, scaleX) == 56 &&
              offsetof(RenderInfo, scaleY) == 60 && offsetof(RenderInfo, offsetX) == 64 &&
              offsetof(RenderInfo, offsetY) == 68 && offsetof(RenderInfo, perspective) == 72 &&
              offsetof(RenderInfo, nearZ) == 76 && offsetof(RenderInfo, farZ) == 80 &&
              offsetof(RenderInfo, originX) == 84 && offsetof(RenderInfo, originY) == 88 &&
              offsetof(RenderInfo, viewLeft) == 92 && offsetof(RenderInfo, viewRight) == 96 &&
              offsetof(RenderInfo, viewTop) == 100 && offsetof(RenderInfo, viewBottom) == 104 &&
              offsetof(RenderInfo, imageWidth) == 108 && offsetof(RenderInfo, imageHeight) == 112 &&
              offsetof(RenderInfo, pixelLeft) == 116 && offsetof(RenderInfo, pixelRight) == 120 &&
              offsetof(RenderInfo, pixelTop) == 124 && offsetof(RenderInfo, pixelBottom) == 128 &&
              offsetof(RenderInfo, flags) == 132 && sizeof(RenderInfo) == 136);
