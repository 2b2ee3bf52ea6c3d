// The host's render settings and view for one frame.
#pragma once

#include <cstdint>

#include "host/Animation.h"

class CWnd;
class GABuffer;

/// Light that comes from everywhere.
struct LightingEnvironment {
  static constexpr int kAmbientColorMode = 1;

  int mode = 0;
  float ambientRed = 0, ambientGreen = 0, ambientBlue = 0;
  float ambientIntensity = 0;
};

/// What the scene contributes to a frame beside its objects.
struct SceneRecord {
  AnimatableValue fogStart;  ///< View units from the eye.
  AnimatableValue fogEnd;
  float fogRed = 0, fogGreen = 0, fogBlue = 0;
  float ambientAmount = 0;  ///< Global ambient, 0 to 1.
};

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
