// Samples into pixels.
#include <gtest/gtest.h>

#include <Imath/half.h>

#include <cstdint>

#include "hostkit/frame/frame_resolve.h"
#include "hostkit/services/bitmap_ptr.h"

namespace {

half& Channel(const HBitmapBuffer& buffer, int x, int y, int channel) {
  auto* const data = static_cast<half*>(buffer.Data());
  return data[y * buffer.RowStep() + x * buffer.PixelStep() + channel];
}

TEST(Resolve, PixelsAreTheMeansOfTheirSamplesWithWhatTheyCover) {
  // More rows than a thread takes at once, and a window that reaches beyond the picture.
  constexpr int kWidth = 5, kHeight = 300, kLeft = 2, kTop = 3;
  for (const int side : {1, 2, 3}) {
    const auto black = hostkit::NewHalfBitmap(kWidth * side, kHeight * side);
    const auto white = hostkit::NewHalfBitmap(kWidth * side, kHeight * side);
    const auto picture = hostkit::NewHalfBitmap(kWidth, kHeight);
    const HBitmapBuffer &from = *black->GetBufferHead(), &through = *white->GetBufferHead();
    for (int i = 0; i < from.RowStep() * from.Height(); ++i) {
      const float value = static_cast<float>(i * 97 % 128) / 255;
      static_cast<half*>(from.Data())[i] = value;
      static_cast<half*>(through.Data())[i] = value + 0.25f;  // a quarter is seen through
    }
    hostkit::ResolveSamples(from, through, side, {kLeft, kTop, kWidth, kHeight},
                            picture->GetBufferHead());
    for (int y = kTop; y < kHeight; ++y) {
      for (int i = 0; i < 4 * (kWidth - kLeft); ++i) {
        const int x = i / 4, c = i % 4;
        float sum = 0;
        for (int k = 0; k < side * side; ++k) {
          sum += Channel(from, x * side + k % side, (y - kTop) * side + k / side, c);
        }
        const half resolved = Channel(*picture->GetBufferHead(), kLeft + x, y, c);
        const half expected = sum / static_cast<float>(side * side);
        if (c == 3) {
          ASSERT_NEAR(resolved, 0.75f, 0.001f) << side << ": " << x << ", " << y;
        } else {
          ASSERT_EQ(resolved.bits(), expected.bits()) << side << ": " << x << ", " << y;
        }
      }
    }
  }
}

}  // namespace
