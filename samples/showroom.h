// The sample scene: a round stage with solid, metal, faceted and glass shapes on it.
#pragma once

#include "samples/glb_writer.h"

namespace samples {

/// Cameras "hero" and "top"; a key, a fill and a rim light; about 120,000 triangles. The floor's
/// picture is `floorSide` pixels a side.
Document Showroom(int floorSide = 2048);

}  // namespace samples
