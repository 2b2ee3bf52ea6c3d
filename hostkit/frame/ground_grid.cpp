// A grid on the ground below a model.
#include "hostkit/frame/ground_grid.h"

#include <algorithm>
#include <cmath>

#include "host/Vertices.h"
#include "hostkit/feed/draw_state.h"

namespace hostkit {
namespace {

using Imath::V3f;

constexpr ColorBuf kGrey{128, 128, 128, 255}, kRed{210, 60, 60, 255}, kBlue{70, 100, 220, 255};
constexpr float kReach = 1.5f;     // of the model's larger extent
constexpr float kMostLines = 500;  // to one side of the middle, each way
// Lines are drawn in pieces, so that fog that is computed at their ends comes out right.
constexpr int kPieces = 16;

GALitVertex At(const V3f& p, const ColorBuf& color) {
  return {p.x, p.y, p.z, color.red, color.green, color.blue, color.alpha};
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

void GridLines::Build(const GroundGrid& grid, const Imath::Box3f& bounds) {
  m_gridLines.clear();
  m_bounds.makeEmpty();
  if (bounds.isEmpty()) return;
  const V3f size = bounds.max - bounds.min, middle = bounds.center();
  const float extent = std::max({size.x, size.z, size.y * 0.5f});
  const double spacing = grid.spacing > 0 ? grid.spacing : GridSpacingFor(extent);
  const double reach = std::min<double>(extent * kReach, kMostLines * spacing);
  const LineNumbers across = LinesAround(middle.x, reach, spacing),
                    along = LinesAround(middle.z, reach, spacing);
  if (across.count < 1 || along.count < 1) return;
  const auto place = [spacing](const LineNumbers& lines, int i) {
    return static_cast<float>((lines.first + i) * spacing);
  };
  const float y = bounds.min.y;
  const V3f from(place(across, 0), y, place(along, 0));
  const V3f to(place(across, across.count - 1), y, place(along, along.count - 1));
  for (int i = 0; i < across.count; ++i) {
    const float x = place(across, i);
    m_gridLines.push_back({V3f(x, y, from.z), V3f(x, y, to.z), x == 0 ? kBlue : kGrey});
  }
  for (int i = 0; i < along.count; ++i) {
    const float z = place(along, i);
    m_gridLines.push_back({V3f(from.x, y, z), V3f(to.x, y, z), z == 0 ? kRed : kGrey});
  }
  // The axes last: where lines cross at the same depth, the later one is seen.
  std::stable_partition(m_gridLines.begin(), m_gridLines.end(),
                        [](const Line& line) { return line.color.red == kGrey.red; });
  m_bounds.extendBy(from);
  m_bounds.extendBy(to);
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
