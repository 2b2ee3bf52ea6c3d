// Frames and depths read back from the frame buffer.
#include <half.h>

#include <algorithm>

#include "tests/support/drawing_fixture.h"
#include "tests/support/faults.h"
#include "tests/support/gl_recorder.h"

namespace {

using Pixel = std::array<float, 4>;  // red, green, blue, alpha

TestBitmap EmptyBitmap(int width, int height) {
  return TestBitmap(new HBitmapNode(width, height));
}

class ReadBackTest : public DrawingFixture {
 protected:
  /// Resizes the buffer; its background is of the given grey.
  void Make(int width, int height, int grey, int options = 1) {
    ASSERT_EQ(Buffer().Reallocate(width, height, options), 1);
    Clear(grey, grey, grey);
  }
  /// Fills the buffer with a background.
  void Clear(int red, int green, int blue) {
    Buffer().SetBackground(Rgb(red, green, blue));
    Buffer().Clear();
  }
  /// Fills a pixel, counted from the lower left.
  void Put(int x, int y, int red, int green, int blue) {
    Buffer().MakeCurrent(0);
    glEnable(GL_SCISSOR_TEST);
    glScissor(x, y, 1, 1);
    glClearColor(static_cast<float>(red) / 255, static_cast<float>(green) / 255,
                 static_cast<float>(blue) / 255, 0);
    glClear(GL_COLOR_BUFFER_BIT);
    glDisable(GL_SCISSOR_TEST);
  }
  /// A pixel of the buffer that FillBitmapNode made.
  static Pixel At(const HBitmapNode& bitmap, int x, int row) {
    const HBitmapBuffer* buffer = bitmap.FindBuffer("ColorAlpha");
    if (!buffer || !buffer->Data()) return {-1, -1, -1, -1};
    const half* bgra = static_cast<const half*>(buffer->Data()) + x * buffer->PixelStep() +
                       row * buffer->RowStep();
    return {bgra[2], bgra[1], bgra[0], bgra[3]};
  }
};

float HalfOf(int byte) {
  return half(static_cast<float>(byte) / 255.0f);
}

TEST_F(ReadBackTest, RowsInEitherOrderAndTheCallsForThem) {
  Make(3, 2, 0);
  Put(0, 0, 255, 0, 0);
  Put(2, 1, 0, 0, 255);
  const TestBitmap topDown = EmptyBitmap(3, 2), bottomUp = EmptyBitmap(3, 2);
  const Lines store = {
      "glPixelStorei(GL_PACK_ROW_LENGTH, 3)", "glPixelStorei(GL_PACK_SKIP_PIXELS, 0)",
      "glPixelStorei(GL_PACK_SKIP_ROWS, 0)", "glPixelStorei(GL_PACK_ALIGNMENT, 1)"};
  const std::string bottom = "glReadPixels(0, 0, 3, 1, GL_RGB, GL_UNSIGNED_BYTE, +0 of 9)";
  const std::string top = "glReadPixels(0, 1, 3, 1, GL_RGB, GL_UNSIGNED_BYTE, +0 of 9)";

  GlRecorder recorder;
  EXPECT_EQ(Buffer().FillBitmapNode(topDown.get(), 0), 1);
  Lines wanted = store;
  wanted.insert(wanted.end(), {top, bottom});
  EXPECT_EQ(recorder.Take(), wanted);
  EXPECT_EQ(Buffer().FillBitmapNode(bottomUp.get(), 1), 1);
  wanted = store;
  wanted.insert(wanted.end(), {bottom, top});
  EXPECT_EQ(recorder.Calls(), wanted);

  const Pixel red = {1, 0, 0, 1}, blue = {0, 0, 1, 1}, background = {0, 0, 0, 0};
  EXPECT_EQ(At(*topDown, 0, 1), red);
  EXPECT_EQ(At(*topDown, 2, 0), blue);
  EXPECT_EQ(At(*topDown, 1, 0), background);
  EXPECT_EQ(At(*bottomUp, 0, 0), red);
  EXPECT_EQ(At(*bottomUp, 2, 1), blue);

  const HBitmapBuffer* buffer = topDown->GetBufferHead();
  EXPECT_STREQ(buffer->Name().Text(), "ColorAlpha");
  EXPECT_EQ(buffer->Type(), HBitmapBuffer::kHalfChannel);
  EXPECT_EQ(buffer->Width(), 3);
  EXPECT_EQ(buffer->Height(), 2);
  EXPECT_EQ(buffer->PixelStep(), 4);
  EXPECT_EQ(buffer->RowStep(), 12);
}

TEST_F(ReadBackTest, EveryByteBecomesItsHalf) {
  Make(256, 1, 255);
  for (int x = 0; x < 256; ++x) Put(x, 0, x, 255 - x, 7);
  const TestBitmap bitmap = EmptyBitmap(256, 1);
  ASSERT_EQ(Buffer().FillBitmapNode(bitmap.get(), 0), 1);
  for (int x = 0; x < 256; ++x) {
    ASSERT_EQ(At(*bitmap, x, 0), (Pixel{HalfOf(x), HalfOf(255 - x), HalfOf(7), 1})) << x;
  }
}

/// 2 steps of 1/255 lie within the tolerance of 0.01, 3 do not, in each channel by its own.
TEST_F(ReadBackTest, PixelsNearTheBackgroundBecomeTransparent) {
  const struct {
    std::array<int, 3> offset;
    float alpha;
  } pixels[] = {{{0, 0, 0}, 0},    {{2, -2, 2}, 0},  {{-2, -2, -2}, 0}, {{2, 2, 2}, 0},
                {{3, 0, 0}, 1},    {{0, 3, 0}, 1},   {{0, 0, 3}, 1},    {{-3, 0, 0}, 1},
                {{0, -3, 0}, 1},   {{0, 0, -3}, 1},  {{50, 50, 0}, 1},  {{0, 5, 0}, 1},
                {{-97, 97, 0}, 1}, {{0, -97, 97}, 1}};
  const int count = static_cast<int>(std::size(pixels));
  for (const auto& [red, green, blue] :
       {std::array{100, 100, 100}, {100, 3, 100}, {252, 100, 3}, {200, 100, 3}}) {
    Make(count, 1, 0);
    Clear(red, green, blue);
    const auto at = [=](int byte, int offset) { return std::clamp(byte + offset, 0, 255); };
    for (int x = 0; x < count; ++x) {
      const auto& [r, g, b] = pixels[x].offset;
      Put(x, 0, at(red, r), at(green, g), at(blue, b));
    }
    const TestBitmap bitmap = EmptyBitmap(count, 1);
    ASSERT_EQ(Buffer().FillBitmapNode(bitmap.get(), 0), 1);
    for (int x = 0; x < count; ++x) {
      const auto& [r, g, b] = pixels[x].offset;
      EXPECT_EQ(At(*bitmap, x, 0), (Pixel{HalfOf(at(red, r)), HalfOf(at(green, g)),
                                          HalfOf(at(blue, b)), pixels[x].alpha}))
          << red << " " << green << ", pixel " << x;
    }
  }
}

TEST_F(ReadBackTest, ExhaustedHeapIsReported) {
  Make(4, 3, 0);
  for (const FaultPoint heap : {FaultPoint::kAllocExt, FaultPoint::kAllocBitmap}) {
    const TestBitmap bitmap = EmptyBitmap(4, 3);
    {
      Faults faults;
      faults.Fail(heap);
      EXPECT_EQ(Buffer().FillBitmapNode(bitmap.get(), 0), 0);
      EXPECT_EQ(faults.Failures(heap), 1);
    }
    EXPECT_EQ(Buffer().FillBitmapNode(bitmap.get(), 0), 1) << "can be repeated";
    EXPECT_EQ(At(*bitmap, 3, 2), (Pixel{0, 0, 0, 0}));
  }
  GlRecorder recorder;
  for (const auto& [width, height] : {std::pair{0, 3}, {3, 0}}) {
    const TestBitmap nothing = EmptyBitmap(width, height);
    EXPECT_EQ(Buffer().FillBitmapNode(nothing.get(), 0), 1) << "no pixels are no error";
  }
  EXPECT_EQ(recorder.Calls(), Lines());
}

TEST_F(ReadBackTest, PixelsBeyondTheSurfaceAreBlack) {
  Make(3, 2, 100);
  const Faults faults;  // memory holds something
  const TestBitmap bitmap = EmptyBitmap(5, 2);
  ASSERT_EQ(Buffer().FillBitmapNode(bitmap.get(), 0), 1);
  for (const int row : {0, 1}) {
    EXPECT_EQ(At(*bitmap, 2, row)[3], 0);
    EXPECT_EQ(At(*bitmap, 4, row), (Pixel{0, 0, 0, 1}));
  }
}

TEST_F(ReadBackTest, DepthInWindowCoordinates) {
  Make(4, 4, 0);
  EXPECT_EQ(Buffer().GetZValue(1, 2), 1.0f);
  Buffer().MakeCurrent(0);
  glEnable(GL_SCISSOR_TEST);
  glScissor(1, 2, 1, 1);
  glClearDepth(0.25);
  glClear(GL_DEPTH_BUFFER_BIT);
  glDisable(GL_SCISSOR_TEST);
  glClearDepth(1);
  EXPECT_NEAR(Buffer().GetZValue(1, 2), 0.25f, 1e-4);
  EXPECT_EQ(Buffer().GetZValue(1, 1), 1.0f);
  EXPECT_EQ(Buffer().GetZValue(2, 2), 1.0f);
  GlRecorder recorder;
  Buffer().GetZValue(2, 1);
  EXPECT_EQ(recorder.Calls(),
            Lines{"glReadPixels(2, 1, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, pointer)"});
}

TEST_F(ReadBackTest, WithoutDepthNothingIsRead) {
  Make(4, 4, 0, 0);
  EXPECT_EQ(Buffer().GetZValue(1, 2), -100000000.0f);
  Buffer().Destroy();
  EXPECT_EQ(Buffer().GetZValue(1, 2), -100000000.0f) << "no context, no crash";
}

/// A buffer without a view has one without pixels; a bitmap there must be.
TEST_F(ReadBackTest, WithoutViewOrBitmapNothingIsRead) {
  const std::unique_ptr<GABuffer> bare(Driver()->CreateBuffer(nullptr, GABuffer::kOffScreen, 0));
  ASSERT_EQ(bare->Reallocate(4, 4, GABuffer::kWithDepth), 1);
  GAColor white = Rgb(255, 255, 255);
  bare->ComputeProjectionMatrices();
  bare->SetProjection(1);
  bare->SetFogState(1);
  bare->Clear();
  bare->TextOutA(0, 0, "a", white, 0);
  bare->AfxFillRect(9, 9, 4, 4, -2, white);
  bare->TransparentBlit(nullptr, CRect(0, 0, 4, 4), -2, {1, 1}, 1);
  tagBITMAPINFO picture{};
  EXPECT_EQ(bare->Blit(&picture), 0);
  EXPECT_EQ(bare->FillBitmapNode(nullptr, 0), 0);
  const TestBitmap bitmap = EmptyBitmap(4, 4);
  ASSERT_EQ(bare->FillBitmapNode(bitmap.get(), 0), 1);
  EXPECT_EQ(At(*bitmap, 3, 3), (Pixel{0, 0, 0, 0}));
}

}  // namespace
