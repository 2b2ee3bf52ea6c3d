// The state that a display list begins to draw things of the scene in.
#pragma once

#include "host/DisplayList.h"
#include "host/GABuffer.h"

namespace hostkit {

/// Begins instructions with scene projection, depth test, blending, and without lighting.
inline void BeginUnlit(DisplayList* list) {
  list->BeginInstructions();
  list->SetProjection(GABuffer::kSceneProjection);
  // After a scene with transparent surfaces the buffer takes lighting for switched on when it is
  // off; switching it off outright brings the two together.
  list->SetDepthFunc(DisplayList::kLightingOff);
  list->SetDepthFunc(DisplayList::kDepthTestOn);
  list->SetDepthFunc(DisplayList::kNormalBlending);
}

}  // namespace hostkit
