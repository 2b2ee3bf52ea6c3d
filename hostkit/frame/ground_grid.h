// A grid on the ground below a model.
#pragma once

#include <Imath/ImathBox.h>
#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

#include <vector>

#include "host/Colors.h"
#include "host/DisplayList.h"
#include "host/RenderInfo.h"
#include "hostkit/feed/frame_settings.h"
#include "hostkit/feed/wide_lines.h"
#include "hostkit/scene/camera.h"
#include "hostkit/scene/up_axis.h"

namespace hostkit {

/// 1, 2 or 5 times a power of ten that parts `extent` (world units) into ten to twenty-five.
float GridSpacingFor(float extent);

class GridLines {
 public:
  /// Lays the lines out under a model of these bounds, in world space: at multiples of the spacing
  /// from the file's origin, which is at -`origin`, half as far again as the model reaches. A
  /// spacing that would give thousands of lines reaches less far. Nothing for empty bounds, and for
  /// those that are beyond counting lines.
  void Build(const GroundGrid& grid, const Imath::Box3f& bounds, UpAxis up = UpAxis::kPlusY,
             const Imath::V3d& origin = Imath::V3d(0));

  /// `view` with its clipping planes moved so that the grid is seen, too.
  View Reach(const View& view) const;

  /// Draws what Build made, depth-tested and unlit, `samplesWide` samples wide.
  void Draw(DisplayList* list, const Imath::M44f& worldToView, const RenderInfo& info,
            int samplesWide);

 private:
  struct Line {
    Imath::V3f from, to;
    ColorBuf color;
  };
  Imath::Box3f m_bounds;  // of the grid
  std::vector<Line> m_gridLines;
  WideLines m_lines;
};

}  // namespace hostkit
