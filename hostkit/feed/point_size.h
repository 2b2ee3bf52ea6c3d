// How large points are drawn that were not given a size.
#pragma once

#include <Imath/ImathBox.h>
#include <Imath/ImathVec.h>

#include <cstddef>

#include "hostkit/scene/camera.h"
#include "hostkit/scene/scene.h"

namespace hostkit {

/// How points lie in a scene.
struct PointSpread {
  Imath::V3f middle{0, 0, 0};
  float spacing = 0;  ///< World units between neighbours; 0: all at one place, or there are none.
  float extent = 0;   ///< World units from end to end.
};

/// Of the scene's own points, as it stands.
PointSpread SpreadOfPoints(const Scene& scene);
/// Of all vertices, which lie in `bounds`.
PointSpread SpreadOfVertices(const Scene& scene, const Imath::Box3f& bounds);

/// Pixels, 1 at least, for points to be seen in a picture of that height: about as large as leaves
/// no gaps between them, and no larger than a hundredth of the height, or 3. The same from every
/// side of the points' middle at the same distance, so that it does not change while a turntable
/// turns.
float PointSizeFor(const PointSpread& spread, const View& view, int height);

/// Half the side of markers on points that lie so, in pixels, 0.5 to 3: they cover a third of the
/// way to their neighbours.
float MarkerSizeFor(const PointSpread& spread, const View& view, int height);

}  // namespace hostkit
