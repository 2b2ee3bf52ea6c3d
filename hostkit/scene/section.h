// Cutting a scene open along a plane.
#pragma once

#include <Imath/ImathVec.h>

#include "hostkit/scene/scene.h"

namespace hostkit {

/// What lies at `normal` . point > `offset` is cut away, in the scene's world space.
struct SectionPlane {
  Imath::V3d normal{1, 0, 0};  ///< Unit length.
  double offset = 0;           ///< World units.
};

/// Cuts everything in the scene as it is posed; afterwards nothing of it moves but cameras and
/// lights. Where closed surfaces are cut they are capped, in exactly this display-referred colour.
/// False when some surface is not closed where it is cut and is left open there.
bool CutScene(const SectionPlane& plane, const Imath::V3f& capColor, Scene& scene);

/// Meshes, materials, placements, cameras and lights of a scene, without its pictures and what
/// moves it, to be cut.
Scene CopyAsPosed(const Scene& scene);

}  // namespace hostkit
