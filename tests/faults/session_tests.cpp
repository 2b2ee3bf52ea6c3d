// Whole sessions with one call at a time failing at a seam: nothing crashes or leaks, the host is
// told where it should be, and the next session is as if nothing had been.
#include <algorithm>
#include <set>

#include "tests/faults/host_session.h"
#include "tests/support/faults.h"

namespace {

const std::string kRefused = "OpenGL3 Initialization Failed: ";

SessionReport PlayUndisturbed() {
  const Faults faults;
  GlRecorder recorder;
  SessionReport report = PlaySession(recorder);
  EXPECT_EQ(report.refusals, Lines());
  EXPECT_EQ(faults.Messages(), Lines());
  return report;
}

struct Seam {
  FaultPoint point;
  const char* name;
  /// All that comes of one failing call, whichever it is: what the host sees as null or 0, or ""
  /// where it sees nothing.
  std::set<std::string> outcomes;
  bool changesPicture = false;  ///< Where it sees nothing.
  const char* message = nullptr;
};

const Seam kSeams[] = {
    // A second chance each for the window's device context and the pixel formats.
    {FaultPoint::kGetDC, "GetDC", {""}},
    {FaultPoint::kCglChoosePixelFormat, "CGLChoosePixelFormat", {""}},
    {FaultPoint::kCglCreateContext, "CGLCreateContext", {"initialize"}, false, "glewInit"},
    {FaultPoint::kInitializeGlew, "InitializeGlew", {"initialize"}, false, "glewInit"},
    // The driver's own context is not asked for its success: textures are lost without it.
    {FaultPoint::kAglChoosePixelFormat, "aglChoosePixelFormat", {"", "surface"}, true},
    {FaultPoint::kAglCreateContext, "aglCreateContext", {"", "surface"}, true},
    {FaultPoint::kAglCreatePBuffer, "aglCreatePBuffer", {"surface"}},
    // A colour that cannot be made draws in black.
    {FaultPoint::kAllocGAssist, "GAssist", {"", "driver", "buffer", "list", "texture"}, true},
    // Without a queue transparent surfaces are left out.
    {FaultPoint::kAllocOGL, "OGL", {""}, true},
    {FaultPoint::kAllocExt, "Ext", {"picture", "blit", "read"}},
    // Texts come out empty: settings have their default values, a bitmap has no such buffer.
    {FaultPoint::kAllocString, "String", {"", "bitmap", "picture", "read"}},
    {FaultPoint::kAllocBitmap, "BitmapStorage", {"bitmap", "picture", "read"}},
};

class SeamTest : public testing::TestWithParam<Seam> {
 protected:
  SeamTest() : m_reference(PlayUndisturbed().pixels), m_alive(Alive()) {}

  /// Adds what came of a session with a failure to the outcomes.
  void Note(const SessionReport& report, const Faults& faults) {
    EXPECT_EQ(Alive(), m_alive);
    for (const std::string& message : faults.Messages()) m_messages.insert(message);
    for (const std::string& refusal : report.refusals) m_outcomes.insert(refusal);
    if (!report.refusals.empty()) return;
    m_outcomes.insert("");
    EXPECT_TRUE(GetParam().changesPicture || report.pixels == m_reference);
  }

  const std::vector<std::uint16_t> m_reference;
  const Lines m_alive;
  std::set<std::string> m_outcomes, m_messages;
};

TEST_P(SeamTest, EachCallOfASessionMayFail) {
  ASSERT_GT(std::set(m_reference.begin(), m_reference.end()).size(), 8u) << "no picture";
  for (int nth = 1; !HasFailure(); ++nth) {
    SCOPED_TRACE(nth);
    {
      Faults faults;
      GlRecorder recorder;
      faults.Fail(GetParam().point, nth);
      const SessionReport report = PlaySession(recorder);
      if (faults.Failures(GetParam().point) == 0) break;
      Note(report, faults);
    }
    EXPECT_EQ(PlayUndisturbed().pixels, m_reference);
  }
  EXPECT_EQ(m_outcomes, GetParam().outcomes);
  std::set<std::string> messages;
  if (GetParam().message) messages.insert(kRefused + GetParam().message);
  EXPECT_EQ(m_messages, messages);
}

TEST_P(SeamTest, AllCallsFromAnyOneOnMayFail) {
  int calls = 1;
  for (int nth = 1; nth <= calls; nth += calls / 8 + 1) {
    SCOPED_TRACE(nth);
    Faults faults;
    GlRecorder recorder;
    faults.Fail(GetParam().point, nth, 1000000);
    PlaySession(recorder);
    EXPECT_EQ(Alive(), m_alive);
    calls = std::max(calls, faults.Calls(GetParam().point));
  }
  EXPECT_EQ(PlayUndisturbed().pixels, m_reference);
}

INSTANTIATE_TEST_SUITE_P(All, SeamTest, testing::ValuesIn(kSeams),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
