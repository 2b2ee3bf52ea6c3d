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

  int mode = 0;
  float ambientRed = 0, ambientGreen = 0, ambientBlue = 0;  ///< 0 to 1 nominally.
  float ambientIntensity = 0;                               ///< A factor of that colour.
};
static_assert(sizeof(LightingEnvironment) == 20 && offsetof(LightingEnvironment, ambientRed) == 4 &&
              offsetof(LightingEnvironment, ambientGreen) == 8 &&
              offsetof(LightingEnvironment, ambientBlue) == 12 &&
              offsetof(LightingEnvironment, ambientIntensity) == 16);

/// What the scene contributes to a frame beside its objects.
struct SceneRecord {
  AnimatableValue fogStart;  ///< View units from the eye, cut to whole ones; of linear fog.
  AnimatableValue fogEnd;
  float fogRed = 0, fogGreen = 0, fogBlue = 0;  ///< 0 to 1.
  float ambientAmount = 0;                      ///< Global ambient, 0 to 1.
};
static_assert(sizeof(SceneRecord) == 48 && offsetof(SceneRecord, fogEnd) == 16 &&
              offsetof(SceneRecord, fogRed) == 32 && offsetof(SceneRecord, fogGreen) == 36 &&
              offsetof(SceneRecord, fogBlue) == 40 && offsetof(SceneRecord, ambientAmount) == 44);

/// View of one frame. View space looks down negative z: `nearZ` and `farZ` are negative for planes
/// in front of the eye. A pixel maps to view space as x = (pixel x - originX) / scaleX - offsetX
/// and y = (originY - pixel y) / scaleY - offsetY; under perspective times z / perspective. The
/// module keeps the pointer that it is given and never owns the record.
struct RenderInfo {
  /// Bit of `flags`: flat materials, without ambient and specular light.
  static constexpr std::uint8_t kFlatMaterials = 2;

  GABuffer* buffer = nullptr;  ///< What display lists draw into; a buffer of the current driver.
  LightingEnvironment environment;
  CWnd* viewWindow = nullptr;           ///< May be null: nothing is on screen.
  SceneRecord* scene = nullptr;         ///< May be null.
  const float* objectToView = nullptr;  ///< 3 x 4, rows of four, translation in the fourth column.
  float scaleX = 1, scaleY = 1;         ///< Pixels a view unit (at the reference distance).
  float offsetX = 0, offsetY = 0;       ///< View units.
  float perspective = 0;  ///< 0: parallel. Else the view-space z (negative) at which scales hold.
  float nearZ = -1, farZ = -1000;
  float originX = 0, originY = 0;  ///< Screen centre in pixels.
  float viewLeft = -1, viewRight = 1, viewTop = 1,
        viewBottom = -1;  ///< View units at the near plane.
  std::int32_t imageWidth = 0, imageHeight = 0;
  std::int32_t pixelLeft = 0, pixelRight = 0, pixelTop = 0, pixelBottom = 0;
  std::uint8_t flags = 0;
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
