// How a picture of any size is cut into windows that an effect can be run on.
//
// The module takes textures whose sides are multiples of four and no larger than the GL allows; it
// clamps what an effect reads at the window's edges. A picture is therefore
// - taken as it is when its sides allow it;
// - padded with its edge pixels to multiples of four when they do not. A pass over the padded
//   picture gives what clamping at the true edge gives, but its padding is not what the edge
//   became, so the next pass needs new padding: one pass a round;
// - cut into overlapping windows of one size when a side is too large. Within `reach` pixels a pass
//   of an inner border a window's pixels are wrong, and are left to its neighbour.
//
// The module keeps some megabytes for every size that it was set up for, so windows come in two
// fits: as large as the picture, or of the few sizes that pictures of all sizes can share.
#pragma once

#include <vector>

namespace hostkit {

/// One window along one axis, in pixels of the picture. It may reach over the picture's end, where
/// it is padded.
struct WindowSpan {
  /// Where it begins, and how long it is.
  int from = 0, length = 0;
  /// What of the result counts.
  int keepFrom = 0, keepTo = 0;
};

/// Windows along one axis. All are of one length.
struct AxisPlan {
  std::vector<WindowSpan> spans;  ///< Empty: there is no way, the reach is too large.
  int passes = 0;                 ///< How many passes one round may have, at most what was asked.
};

/// How large windows are.
enum class WindowFit {
  kOwn,     ///< The picture's size, rounded up to a multiple of four.
  kShared,  ///< A power of two, 1024 for large pictures (more for large reaches).
};

/// A plan for `size` pixels with windows of at most `limit` pixels (a multiple of four), for an
/// effect that looks `reach` pixels away in each of `passes` passes.
AxisPlan PlanAxis(int size, int limit, int reach, int passes, WindowFit fit = WindowFit::kOwn);

/// The windows for fewer passes than PlanAxis allowed are the same, so both axes can take the
/// smaller number.
struct WindowPlan {
  /// Along both axes.
  AxisPlan across, down;
  /// How many passes one round may have.
  int Passes() const { return across.passes < down.passes ? across.passes : down.passes; }
  /// Pixels of every window; the plan is not empty.
  int WindowWidth() const { return across.spans.front().length; }
  /// Pixels of every window; the plan is not empty.
  int WindowHeight() const { return down.spans.front().length; }
  /// Whether there is no way.
  bool IsEmpty() const { return across.spans.empty() || down.spans.empty(); }
};
/// A plan for a picture of `width` by `height` pixels; the rest as for PlanAxis.
WindowPlan PlanWindows(int width, int height, int limit, int reach, int passes,
                       WindowFit fit = WindowFit::kOwn);

}  // namespace hostkit
