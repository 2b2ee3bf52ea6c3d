// How a picture of any size is cut into windows that an effect can be run on.
#include "hostkit/effects/effect_windows.h"

#include <algorithm>
#include <bit>

namespace hostkit {
namespace {

constexpr int kMultiple = 4;  // of the sides of the module's textures

/// Sides of the largest shared windows: 1024, or more where so much would be overlap.
int SharedLimit(int reach) {
  constexpr int kUsual = 1024;
  return std::max(kUsual, static_cast<int>(std::bit_ceil(4 * static_cast<unsigned>(reach))));
}

/// Overlapping windows of `limit` pixels that lie inside a picture of `size` pixels, which is
/// larger. Without `margin` pixels at its inner borders each, they cover it.
AxisPlan Overlap(int size, int limit, int reach, int passes) {
  AxisPlan plan;
  // Half of each window may be overlap; when not even one pass fits in that, as much as is needed.
  plan.passes = reach > 0 ? std::clamp(limit / 4 / reach, 1, passes) : passes;
  const int margin = reach * plan.passes;
  if (limit <= 2 * margin) return {};
  for (int kept = 0; kept < size;) {
    const int from = std::min(std::max(kept - margin, 0), size - limit);
    const bool isLast = from + limit >= size;
    const int keepTo = isLast ? size : from + limit - margin;
    plan.spans.push_back({from, limit, kept, keepTo});
    kept = keepTo;
  }
  return plan;
}

}  // namespace

AxisPlan PlanAxis(int size, int limit, int reach, int passes, WindowFit fit) {
  const bool isShared = fit == WindowFit::kShared;
  if (isShared) {
    const auto most = static_cast<unsigned>(std::min(limit, SharedLimit(reach)));
    limit = static_cast<int>(std::bit_floor(most));
  }
  if (size > limit) return Overlap(size, limit, reach, passes);
  const int multiple = (size + kMultiple - 1) / kMultiple * kMultiple;
  const int padded =
      isShared ? static_cast<int>(std::bit_ceil(static_cast<unsigned>(multiple))) : multiple;
  const bool manyPasses = padded == size || reach == 0;
  return {{{0, padded, 0, size}}, manyPasses ? passes : std::min(passes, 1)};
}

WindowPlan PlanWindows(int width, int height, int limit, int reach, int passes, WindowFit fit) {
  return {PlanAxis(width, limit, reach, passes, fit), PlanAxis(height, limit, reach, passes, fit)};
}

}  // namespace hostkit
