// Blur against an average on the processor.
#include <algorithm>
#include <cmath>
#include <tuple>
#include <vector>

#include "tests/shader/shader_fixture.h"

namespace {

class BlurTest : public ShaderFixture {};

constexpr int kBlur = 0;

/// A channel between pixel centres, as linear filtering has it.
double Sample(const Pixels& p, double x, double y, int c) {
  const int left = static_cast<int>(std::floor(x)), top = static_cast<int>(std::floor(y));
  const double u = x - left, v = y - top;
  return (1 - v) * ((1 - u) * p.At(left, top, c) + u * p.At(left + 1, top, c)) +
         v * ((1 - u) * p.At(left, top + 1, c) + u * p.At(left + 1, top + 1, c));
}

/// One program: the mean of 2 * steps + 1 samples along an axis; without steps the pixel itself.
Pixels Averaged(const Pixels& before, double radius, int steps, int dx, int dy) {
  Pixels after = before;
  for (int i = 0; i < static_cast<int>(before.bytes.size()); ++i) {
    const int x = i / 4 % before.width, y = i / 4 / before.width, c = i % 4;
    double sum = before.At(x, y, c);
    for (int step = 1; step <= steps; ++step) {
      const double d = step * radius / steps;
      sum += Sample(before, x + d * dx, y + d * dy, c) + Sample(before, x - d * dx, y - d * dy, c);
    }
    after.bytes[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(
        c == 3 ? 255 : std::clamp(std::lround(sum / (2 * steps + 1)), 0L, 255L));
  }
  return after;
}

Pixels Reference(Pixels picture, double radius, int steps, int passes) {
  for (int pass = 0; pass < passes; ++pass) {
    picture = Averaged(picture, radius, steps, 0, 1);
    picture = Averaged(picture, radius, steps, 1, 0);
  }
  return picture;
}

TEST_F(BlurTest, IsAnAverageAlongBothAxes) {
  // Radius, steps, passes.
  const std::tuple<float, int, int> cases[] = {{10.0f, 7, 1}, {10.0f, 7, 0}, {5.0f, 3, 2},
                                               {3.3f, 2, 3},  {1.0f, 0, 1},  {40.0f, 19, 1}};
  const Pixels picture = RandomPixels(32, 24, 7);
  for (const auto& [radius, steps, passes] : cases) {
    ASSERT_EQ(Init(kBlur, 0, static_cast<float>(passes), radius, 32, 24), 1);
    SCOPED_TRACE(radius);
    ExpectNear(Process(kBlur, picture), Reference(picture, radius, steps, passes),
               std::max(1, passes));  // each program rounds to bytes
  }
}

TEST_F(BlurTest, OtherModesPutColoursOverTheSourceButForBlackOnes) {
  Pixels picture = RandomPixels(16, 8, 3);
  for (std::size_t i = 0; i < picture.bytes.size() / 2; i += 4) {
    std::fill_n(picture.bytes.begin() + static_cast<std::ptrdiff_t>(i), 3, std::uint8_t{0});
  }
  const TestBitmap source(new HBitmapNode(16, 8)), destination(new HBitmapNode(16, 8));
  Program().MergeBuffers(nullptr, source.get(), picture.bytes.data(), 0, 0, 0, 16, 8);
  ASSERT_EQ(Init(kBlur, 1, 1, 2, 16, 8), 1);
  ASSERT_EQ(Program().Process(kBlur, source.get(), destination.get(), 0), 1);
  EXPECT_EQ(destination->GetBufferHead(), nullptr);
  EXPECT_EQ(source->GetBufferHead()->Next(), nullptr);
  Pixels wanted = Reference(picture, 2, 1, 1);
  for (std::size_t i = 3; i < wanted.bytes.size(); i += 4) wanted.bytes[i] = picture.bytes[i];
  ExpectNear(Result(*source), wanted, 1);
}

}  // namespace
