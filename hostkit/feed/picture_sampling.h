// Colours of pictures where surfaces show them.
#pragma once

#include <Imath/ImathVec.h>

#include "host/Colors.h"
#include "hostkit/scene/scene.h"

namespace hostkit {

/// The mean colour of the part of `image` that a triangle with these texture coordinates shows,
/// from a few samples inside it; white for an image without pixels.
ColorBuf MeanOverTriangle(const SceneImage& image, const Imath::V2f (&uvs)[3]);

}  // namespace hostkit
