// Image filters against filters on the processor.
#include <algorithm>
#include <cmath>
#include <vector>

#include "tests/shader/shader_fixture.h"

namespace {

class FilterTest : public ShaderFixture {};

constexpr int kFilter = 1;

/// One channel of a filtered pixel, in 0 to 1 unless it goes beyond; channel 3 is alpha.
double Filtered(const Pixels& p, int filter, int x, int y, int c) {
  const auto at = [&](int dx, int dy) { return p.At(x + dx, y + dy, c) / 255.0; };
  const double grey =
      (0.299 * p.At(x, y, 0) + 0.587 * p.At(x, y, 1) + 0.114 * p.At(x, y, 2)) / 255.0;
  double sum = 0, most = 0, least = 1;
  for (int dy = -1; dy <= 1; ++dy) {
    for (int dx = -1; dx <= 1; ++dx) {
      sum += at(dx, dy);
      most = std::max(most, at(dx, dy));
      least = std::min(least, at(dx, dy));
    }
  }
  const double corner = filter == 8 ? 2 : 1;
  const double rows =
      at(-1, 1) + corner * at(0, 1) + at(1, 1) - at(-1, -1) - corner * at(0, -1) - at(1, -1);
  const double columns =
      at(-1, -1) + corner * at(-1, 0) + at(-1, 1) - at(1, -1) - corner * at(1, 0) - at(1, 1);
  constexpr double kTint[] = {1.2, 1.0, 0.8};
  switch (filter) {
    case 0:
      return c == 3 ? at(0, 0) : grey;
    case 1:
      return c == 3 ? at(0, 0) : grey * kTint[c];
    case 2:
      return c == 3 ? at(0, 0) : 1 - at(0, 0);
    case 3:
      return 10 * at(0, 0) - sum;
    case 4:
      return most;
    case 5:
      return least;
    case 6:
      return c == 3 ? 1 : 9 * at(0, 0) - sum;
    default:
      return c == 3 ? 1 : std::sqrt(rows * rows + columns * columns);
  }
}

Pixels Reference(Pixels picture, int filter, int passes) {
  for (int pass = 0; pass < passes; ++pass) {
    const Pixels before = picture;
    for (int i = 0; i < static_cast<int>(picture.bytes.size()); ++i) {
      const double value =
          Filtered(before, filter, i / 4 % before.width, i / 4 / before.width, i % 4);
      picture.bytes[static_cast<std::size_t>(i)] =
          static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255));
    }
  }
  return picture;
}

TEST_F(FilterTest, EachIsWhatTheProcessorMakes) {
  for (int filter = 0; filter <= 8; ++filter) {
    const struct {
      int width, height, passes;
    } cases[] = {{24, 20, 1}, {4, 4, 1}, {64, 8, 1}, {16, 12, 0}, {16, 12, 2}};
    for (const auto& [width, height, passes] : cases) {
      const Pixels picture =
          RandomPixels(width, height, static_cast<unsigned>(filter * 100 + width));
      const auto times = static_cast<float>(passes);
      ASSERT_EQ(Init(kFilter, 0, times, static_cast<float>(filter) + 0.9f, width, height), 1);
      SCOPED_TRACE(filter);
      ExpectNear(Process(kFilter, picture), Reference(picture, filter, passes), 1);
    }
  }
}

}  // namespace
