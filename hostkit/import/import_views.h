// Lights and cameras of files, brought to what the renderer's can do.
#pragma once

#include <vector>

#include "hostkit/scene/scene.h"

namespace hostkit {

/// The range of a light at which the renderer's attenuation, 1 / (0.8333 + 0.3126 (d / range)^2),
/// is 1 at that distance.
float RangeFor(float distance);

/// Softness that makes a spot's fall towards the edge of its cone like the file's, where it begins
/// at the inner angle; radians from the axis.
float ConeSoftness(float inner, float outer);

/// Files in physical units mean an exposure that they do not tell: the brightest light becomes 1.
/// Others are dimmed where they would burn out. Several lights together reach at most 1.8. All are
/// brighter than 0.
void Expose(bool isPhysical, std::vector<SceneLight>& lights);

/// What can be up for a camera that looks along `forward`.
Imath::V3f UpFor(const Imath::V3f& forward);

}  // namespace hostkit
