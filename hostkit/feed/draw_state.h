// The state that a display list begins to draw things of the scene in.
#pragma once

#include "host/DisplayList.h"

namespace hostkit {

/// Values of DisplayList::SetDepthFunc.
enum DepthFunction : int {
  kDepthTestOn = 1,
  kAdditiveBlending = 2,
  kNormalBlending = 3,
  kLightingOff = 5
};

/// Begins instructions with scene projection, depth test, blending, and without lighting.
inline void BeginUnlit(DisplayList* list) {
  list->BeginInstructions();
  list->SetProjection(1);
  // After a scene with transparent surfaces the buffer takes lighting for switched on when it is
  // off; switching it off outright brings the two together.
  list->SetDepthFunc(kLightingOff);
  list->SetDepthFunc(kDepthTestOn);
  list->SetDepthFunc(kNormalBlending);
}

}  // namespace hostkit
