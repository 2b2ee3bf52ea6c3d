// A grid on the ground below a model.
#include "hostkit/frame/ground_grid.h"

#include <algorithm>
#include <cmath>

#include "host/Vertices.h"
#include "hostkit/feed/draw_state.h"

namespace hostkit {
namespace {

using Imath::V3f;

constexpr ColorBuf kGrey{128, 128, 128, 255};
constexpr ColorBuf kRed{210, 60, 60, 255}, kGreen{70, 160, 70, 255}, kBlue{70, 100, 220, 255};
constexpr float kReach = 1.5f;     // of the model's larger extent
constexpr float kMostLines = 500;  // to one side of the middle, each way
// Lines are drawn in pieces, so that fog that is computed at their ends comes out right.
constexpr int kPieces = 16;

GALitVertex At(const V3f& p, const ColorBuf& color) {
  return {p.x, p.y, p.z, color.red, color.green, color.blue, color.alpha};
}

ColorBuf ColorOfAxis(const V3f& run) {
  return run.x != 0 ? kRed : run.y != 0 ? kGreen : kBlue;
}

/// Lines across one axis, each at its number times the spacing.
struct LineNumbers {
  double first = 0;
  int count = 0;
};

/// The lines that hold `middle` plus and minus `reach` between them; none where the numbers are so
/// large that neighbours are the same.
LineNumbers LinesAround(double middle, double reach, double spacing) {
  constexpr double kMost = 1LL << 53;
  constexpr double kSlack = 1e-4;  // of a spacing: what lies on a line up to rounding is held
  const double first = std::floor((middle - reach) / spacing + kSlack);
  const double last = std::ceil((middle + reach) / spacing - kSlack);
  if (!(first > -kMost && last < kMost)) return {};
  return {first, static_cast<int>(last - first) + 1};
}

}  // namespace

float GridSpacingFor(float extent) {
  if (!(extent > 0) || !std::isfinite(extent)) return 1;
  const float power = std::pow(10.0f, std::floor(std::log10(extent)));
  for (const float step : {0.05f, 0.1f, 0.2f}) {
    if (extent <= 25 * step * power) return step * power;
  }
  return 0.5f * power;
}

void GridLines::Build(const GroundGrid& grid, const Imath::Box3f& modelBounds, UpAxis up,
                      const Imath::V3d& origin) {
  m_gridLines.clear();
  m_bounds.makeEmpty();
  if (modelBounds.isEmpty()) return;
  // As if y were up.
  Imath::Box3f bounds(ToYUp(up, modelBounds.min));
  bounds.extendBy(ToYUp(up, modelBounds.max));
  const Imath::V3d from0 = ToYUp(up, origin), middle = from0 + Imath::V3d(bounds.center());
  const V3f size = bounds.max - bounds.min;
  const float extent = std::max({size.x, size.z, size.y * 0.5f});
  const double spacing = grid.spacing > 0 ? grid.spacing : GridSpacingFor(extent);
  const double reach = std::min<double>(extent * kReach, kMostLines * spacing);
  const LineNumbers across = LinesAround(middle.x, reach, spacing),
                    along = LinesAround(middle.z, reach, spacing);
  if (across.count < 1 || along.count < 1) return;
  const auto x = [&](int i) { return static_cast<float>((across.first + i) * spacing - from0.x); };
  const auto z = [&](int i) { return static_cast<float>((along.first + i) * spacing - from0.z); };
  const float y = bounds.min.y;
  const int lastX = across.count - 1, lastZ = along.count - 1;
  const auto add = [&](const V3f& from, const V3f& to, bool isAxis, const V3f& run) {
    m_gridLines.push_back(
        {FromYUp(up, from), FromYUp(up, to), isAxis ? ColorOfAxis(FromYUp(up, run)) : kGrey});
  };
  for (int i = 0; i < across.count; ++i) {
    add(V3f(x(i), y, z(0)), V3f(x(i), y, z(lastZ)), across.first + i == 0, V3f(0, 0, 1));
  }
  for (int i = 0; i < along.count; ++i) {
    add(V3f(x(0), y, z(i)), V3f(x(lastX), y, z(i)), along.first + i == 0, V3f(1, 0, 0));
  }
  // The axes last: where lines cross at the same depth, the later one is seen.
  std::stable_partition(m_gridLines.begin(), m_gridLines.end(),
                        [](const Line& line) { return line.color.red == kGrey.red; });
  m_bounds.extendBy(FromYUp(up, V3f(x(0), y, z(0))));
  m_bounds.extendBy(FromYUp(up, V3f(x(lastX), y, z(lastZ))));
}

View GridLines::Reach(const View& view) const {
  if (m_bounds.isEmpty()) return view;
  const View own = ViewFor(view.camera, m_bounds);
  View both = view;
  both.farDistance = std::max(view.farDistance, own.farDistance);
  both.nearDistance = std::min(view.nearDistance, own.nearDistance);
  return both;
}

void GridLines::Draw(DisplayList* list, const Imath::M44f& worldToView, const RenderInfo& info,
                     int samplesWide) {
  BeginUnlit(list);
  list->SetTexture(nullptr);
  m_lines.Begin(info, samplesWide);
  for (const Line& line : m_gridLines) {
    const V3f from = line.from * worldToView, to = line.to * worldToView;
    for (int i = 0; i < kPieces; ++i) {
      const float start = static_cast<float>(i) / kPieces,
                  end = static_cast<float>(i + 1) / kPieces;
      m_lines.Add(At(from + (to - from) * start, line.color),
                  At(from + (to - from) * end, line.color));
    }
  }
  m_lines.Draw(list);
  list->EndInstructions();
}

}  // namespace hostkit
