// Text over a scene, in buffers on windows; a hidden window does.
#include <algorithm>
#include <string>

#include "tests/window/window_fixture.h"

namespace {

constexpr int kWidth = 96;
constexpr int kHeight = 64;
constexpr std::uint32_t kText = 0x3264C8;

/// Where there is text, from the left edge of its first pixel to the right edge of its last.
struct Ink {
  int left = kWidth, top = kHeight, right = 0, bottom = 0;
  int count = 0;
};

class TextTest : public DriverFixture {
 protected:
  void SetUp() override {
    DriverFixture::SetUp();
    m_target = std::make_unique<WindowTarget>(Driver(), &m_view, 3);
    m_target->Fit();
  }
  void TearDown() override {
    m_target.reset();
    m_view.DestroyWindow();
    DriverFixture::TearDown();
  }

  /// A black frame behind something grey that is nearer than text, then text alone.
  Frame Write(int x, int y, const std::string& text, bool grey = false) {
    m_target->buffer->SetBackground(Rgb(0, 0, 0));
    m_target->buffer->Clear();
    GAColor color = Rgb(90, 90, 90);
    if (grey) m_target->buffer->AfxFillRect(0, 0, kWidth, kHeight, -2, color);
    m_target->buffer->TextOutA(x, y, text.c_str(), Rgb(0x32, 0x64, 0xC8), 0);
    return m_target->Drawn();
  }
  static Ink Find(const Frame& frame) {
    Ink ink;
    for (int i = 0; i < kWidth * kHeight; i++) {
      if (frame.at(static_cast<std::size_t>(i)) != kText) continue;
      ink.left = std::min(ink.left, i % kWidth);
      ink.right = std::max(ink.right, i % kWidth + 1);
      ink.top = std::min(ink.top, i / kWidth);
      ink.bottom = std::max(ink.bottom, i / kWidth + 1);
      ink.count++;
    }
    return ink;
  }

  TestWindow m_view{WS_POPUP, 0, 0, kWidth, kHeight};
  std::unique_ptr<WindowTarget> m_target;
};

TEST_F(TextTest, StandsBelowAndRightOfItsPlaceEverywhere) {
  const Ink first = Find(Write(0, 0, "H"));
  ASSERT_GE(first.count, 15);
  EXPECT_EQ(first.bottom, 11) << "the baseline";
  EXPECT_GE(first.left, 1);
  EXPECT_LE(first.left, 3);
  EXPECT_GE(first.bottom - first.top, 6);
  for (int y = 0; y < kHeight - 11; y++) {
    const int x = y % (kWidth - 12);
    const Ink ink = Find(Write(x, y, "H"));
    ASSERT_EQ(ink.count, first.count) << x << ", " << y;
    EXPECT_EQ(ink.left, first.left + x) << y;
    EXPECT_EQ(ink.bottom, first.bottom + y) << x;
  }
}

TEST_F(TextTest, IsWholeOverAnythingWithAndWithoutDepthTest) {
  for (const bool depth : {true, false}) {
    m_target->Fit(depth);
    const Frame plain = Write(20, 20, "Text, 123");
    const Frame over = Write(20, 20, "Text, 123", true);
    EXPECT_EQ(glIsEnabled(GL_DEPTH_TEST), depth ? GL_TRUE : GL_FALSE) << "as it was before";
    EXPECT_GE(Find(plain).count, 80);
    for (std::size_t i = 0; i < plain.size(); i++) {
      ASSERT_EQ(over[i], plain[i] == kText ? kText : 0x5A5A5Au) << depth << " at " << i;
    }
  }
}

TEST_F(TextTest, KnowsLatin1) {
  const Ink plain = Find(Write(10, 10, "A"));
  const Ink dotted = Find(Write(10, 10, "\xC4"));
  EXPECT_LT(dotted.top, plain.top) << "the dots of the umlaut";
  EXPECT_EQ(dotted.bottom, plain.bottom);
  const Ink comma = Find(Write(10, 10, "\xC7"));
  EXPECT_GT(comma.bottom, Find(Write(10, 10, "C")).bottom) << "the cedilla";
  int different = 0;
  Frame before;
  for (int code = 0xA1; code <= 0xFF; code++) {
    if (code == 0xAD) continue;  // the soft hyphen, which may be empty
    const Frame frame = Write(10, 10, std::string(1, static_cast<char>(code)));
    EXPECT_GT(Find(frame).count, 0) << code;
    different += frame != before;
    before = frame;
  }
  EXPECT_GE(different, 90);
  // A blank moves on, and shows nothing.
  EXPECT_EQ(Find(Write(10, 10, "\xA0 ")).count, 0);
  EXPECT_GT(Find(Write(10, 10, " A")).left, plain.left);
}

}  // namespace
