// Colours of pictures where surfaces show them.
#pragma once

#include <Imath/ImathVec.h>

#include "host/Colors.h"
#include "hostkit/scene/scene.h"

namespace hostkit {

/// The mean colour of the part of `image` that a triangle with these texture coordinates shows,
/// from a few samples inside it; white for an image without pixels. With a `leastAlpha` above 0,
/// samples of less alpha, of 255, are not seen, and the mean's alpha is the share of the others.
ColorBuf MeanOverTriangle(const SceneImage& image, const Imath::V2f (&uvs)[3], int leastAlpha = 0);

}  // namespace hostkit
