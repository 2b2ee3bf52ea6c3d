// Which vertices are near the mouse.
#pragma once

#include <Imath/ImathVec.h>

#include <functional>
#include <optional>
#include <vector>

#include "hostkit/scene/camera.h"
#include "hostkit/scene/scene.h"

namespace view {

/// A vertex of a placed mesh.
struct PickedVertex {
  Imath::V3f place;  ///< World space.
  int instance = 0;
  std::uint32_t vertex = 0;
  float pixels = 0;               ///< From the point that was asked for.
  float x = 0, y = 0, depth = 0;  ///< As ScreenPoint has it.
};

/// Vertices within `radius` pixels of a point of a frame, the nearest first; those at the same
/// place count once.
std::vector<PickedVertex> VerticesNear(const hostkit::Scene& scene, const hostkit::View& view,
                                       int width, int height, float x, float y, float radius);

/// The distance along the view, in world units, that a value of the depth buffer (0 to 1) stands
/// for.
float DistanceOfDepth(const hostkit::View& view, float depth);

}  // namespace view
