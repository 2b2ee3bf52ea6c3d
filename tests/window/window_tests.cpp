// Buffers on windows of an X server: what the screen shows, while they are resized and when they
// go.
#include <EGL/egl.h>

#include <algorithm>
#include <set>

#include "apps/base/x_server.h"
#include "platform/mfc.h"
#include "platform/platform.h"
#include "tests/support/common/holds.h"
#include "tests/support/common/x_client.h"
#include "tests/support/drawing_fixture.h"
#include "tests/support/next_symbol.h"

namespace {
int g_swapInterval = -1;
}

// In front of the library's own.
extern "C" EGLBoolean eglSwapInterval(EGLDisplay display, EGLint interval) {
  static auto* const real = NextSymbol<decltype(eglSwapInterval)>("eglSwapInterval");
  g_swapInterval = interval;
  return real(display, interval);
}

namespace {

constexpr int kSkipped = 77;  // as tests/CMakeLists.txt has it
constexpr std::uint32_t kBackground = 0x0A141E;
constexpr DWORD kShown = WS_VISIBLE;

RECT ClientOf(const CWnd& view) {
  RECT client;
  view.GetClientRect(&client);
  return client;
}

/// A window of a style; its place counts from the parent's, or the screen's, upper left.
class TestWindow : public CWnd {
 public:
  TestWindow(DWORD style, int x, int y, int width, int height, CWnd* parent = nullptr) {
    CreateEx(0, AfxRegisterWndClass(CS_OWNDC, nullptr, nullptr, nullptr), "t\xC3\xABst", style, x,
             y, width, height, parent ? parent->m_hWnd : nullptr, nullptr, nullptr);
  }
};

/// A target of some mode on a view window. View units are pixels with the origin in the middle and
/// y up.
struct WindowTarget : OffscreenTarget {
  WindowTarget(GADriver* driver, CWnd* view, int mode)
      : OffscreenTarget(driver, ClientOf(*view).right, ClientOf(*view).bottom, mode, view) {}

  /// Reallocates the buffer at the view's size of now.
  void Fit(bool depth = true) {
    const RECT client = ClientOf(*info.viewWindow);
    info.imageWidth = info.pixelRight = client.right;
    info.imageHeight = info.pixelBottom = client.bottom;
    buffer->Reallocate(client.right, client.bottom, depth ? 1 : 0);
    SetView(1, 1, static_cast<float>(client.right) / 2, static_cast<float>(client.bottom) / 2);
  }
  /// Clears, then draws with every path of the module that leads into the buffer: rectangles of
  /// five by three pixels in the corners (red, green, blue, white from the upper left), a lit white
  /// square of twenty around the middle.
  void DrawTestFrame() {
    Begin(10, 20, 30);
    AttrProperty white = Material(1, 1, 1);
    list->BeginInstructions();
    list->SetupLights(nullptr);
    list->SetMaterial(&white, 0);
    list->AddTransformedQuad(Square(0, 0, 10, -9).data(), 1, 0);
    list->EndInstructions();
    End();
    GAColor corners[] = {Rgb(255, 0, 0), Rgb(0, 255, 0), Rgb(0, 0, 255), Rgb(255, 255, 255)};
    for (int i = 0; i < 4; ++i) {
      buffer->AfxFillRect(i % 2 ? info.imageWidth - 5 : 0, i / 2 ? info.imageHeight - 3 : 0, 5, 3,
                          -9, corners[i]);
    }
  }
};

/// A driver, and another program at the X server. Skipped where there is none.
class WindowTest : public DriverFixture {
 protected:
  void SetUp() override {
    if (!*std::getenv("DISPLAY")) GTEST_SKIP() << "no X server: Xvfb is missing";
    DriverFixture::SetUp();
    m_other = std::make_unique<XClient>();
    ASSERT_EQ(platform::DescribeDisplay().platform, "x11") << platform::DescribeDisplay().reason;
  }
  void TearDown() override {
    m_other.reset();
    DriverFixture::TearDown();
  }
  XClient& Other() { return *m_other; }
  /// What the screen shows of a window, once all that was drawn has arrived.
  std::vector<std::uint32_t> Shown(const CWnd& window) {
    ForceDraw(window.GetSafeHwnd());
    const RECT client = ClientOf(window);
    return m_other->Pixels(platform::NativeWindow(window.GetSafeHwnd()), client.right,
                           client.bottom);
  }
  /// Draws the test frame, brings it to the front and compares all that the screen shows.
  void ExpectTestFrame(const CWnd& window, WindowTarget& target) {
    target.DrawTestFrame();
    const std::vector<std::uint32_t> drawn = target.Drawn();
    ASSERT_EQ(target.buffer->BlitToFront(nullptr, 0, 0), 1);
    const std::vector<std::uint32_t> shown = Shown(window);
    const auto width = static_cast<std::size_t>(target.info.imageWidth);
    const auto height = static_cast<std::size_t>(target.info.imageHeight);
    ASSERT_EQ(shown.size(), width * height);
    EXPECT_EQ(shown, drawn);
    EXPECT_EQ(shown.at(width * 2 + 4), 0xFF0000u) << "upper left";
    EXPECT_EQ(shown.at(width - 5), 0x00FF00u) << "upper right";
    EXPECT_EQ(shown.at(width * (height - 3)), 0x0000FFu) << "lower left";
    EXPECT_EQ(shown.back(), 0xFFFFFFu) << "lower right";
    EXPECT_EQ(shown.at(width * 3 + 5), kBackground);
    EXPECT_EQ(shown.at(width * (height / 2) + width / 2), 0xFFFFFFu) << "the lit square";
    EXPECT_EQ(aglGetError(), static_cast<GLenum>(AGL_NO_ERROR));
  }

 private:
  std::unique_ptr<XClient> m_other;
};

std::pair<EGLint, EGLint> SurfaceSize() {
  const EGLDisplay display = eglGetCurrentDisplay();
  const EGLSurface surface = eglGetCurrentSurface(EGL_DRAW);
  EGLint width = 0;
  EGLint height = 0;
  eglQuerySurface(display, surface, EGL_WIDTH, &width);
  eglQuerySurface(display, surface, EGL_HEIGHT, &height);
  return {width, height};
}

TEST_F(WindowTest, FramesComeToTheFrontWhileTheWindowIsResized) {
  for (const int mode : {2, 3}) {
    TestWindow view(kShown, 10, 20, 64, 48);
    g_swapInterval = -1;
    WindowTarget target(Driver(), &view, mode);
    ASSERT_NO_FATAL_FAILURE(ExpectTestFrame(view, target)) << "mode " << mode;
    for (int i = 1; i <= 10; i++) {
      const std::pair size(i % 2 ? 37 + i * 29 : 260 - i * 17, 31 + (i * 53) % 211);
      view.MoveWindow(10 + i, 20, size.first, size.second);
      target.Fit();
      ASSERT_NO_FATAL_FAILURE(ExpectTestFrame(view, target)) << "mode " << mode << " size " << i;
      EXPECT_EQ(std::pair(target.info.imageWidth, target.info.imageHeight), size);
      EXPECT_EQ(SurfaceSize(), size);
    }
    EXPECT_EQ(g_swapInterval, 1);
  }
}

TEST_F(WindowTest, AViewInAFrameShowsOnlyItself) {
  TestWindow frame(WS_OVERLAPPED, 40, 30, 300, 200);
  TestWindow view(WS_CHILD | kShown, 20, 10, 64, 48, &frame);
  EXPECT_EQ(view.GetParentFrame(), &frame);
  EXPECT_EQ(AfxGetParent(&view), &frame);
  EXPECT_EQ(frame.GetParentFrame(), nullptr);
  RECT rect;
  view.GetClientRect(&rect);
  view.ClientToScreen(&rect);
  EXPECT_EQ(rect.left, 60);
  EXPECT_EQ(rect.bottom, 88);
  const unsigned long number = platform::NativeWindow(frame.GetSafeHwnd());
  EXPECT_EQ(Other().Title(number), "t\xC3\xABst");
  EXPECT_FALSE(Other().IsShown(number));
  AfxShowWindow(&frame, SW_SHOW);
  EXPECT_TRUE(Other().IsShown(number));

  WindowTarget target(Driver(), &view, 3);
  ExpectTestFrame(view, target);
  frame.MoveWindow(0, 0, 100, 70);
  view.MoveWindow(7, 3, 80, 60);
  target.Fit();
  ExpectTestFrame(view, target);
  AfxShowWindow(&frame, SW_HIDE);
  EXPECT_FALSE(Other().IsShown(number));
}

TEST_F(WindowTest, BuffersWithAndWithoutDepthTakeTurnsOnOneWindow) {
  TestWindow view(kShown, 0, 0, 64, 48);
  WindowTarget first(Driver(), &view, 2);
  WindowTarget second(Driver(), &view, 3);
  second.Fit(false);
  for (WindowTarget* target : {&second, &first, &second}) ExpectTestFrame(view, *target);
  first.Fit(false);
  ExpectTestFrame(view, first);
  const PixMapHandle map = GetPortPixMap(CheckoutPort(GetDC(view.m_hWnd), 0));
  EXPECT_EQ((*map)->bounds.right, 64);
  EXPECT_EQ((*map)->bounds.bottom, 48);
  EXPECT_EQ(GetPixBaseAddr(map), nullptr);
}

TEST_F(WindowTest, ABufferOutlivesItsWindow) {
  for (const int mode : {2, 3}) {
    TestWindow view(kShown, 0, 0, 64, 48);
    WindowTarget target(Driver(), &view, mode);
    ExpectTestFrame(view, target);
    const unsigned long number = platform::NativeWindow(view.GetSafeHwnd());
    EXPECT_TRUE(view.DestroyWindow());
    EXPECT_FALSE(Other().Exists(number));
    EXPECT_EQ(eglGetCurrentSurface(EGL_DRAW), EGL_NO_SURFACE) << "no driver draws on a dead window";
    glRectf(-1, -1, 1, 1);  // nothing is made current before
    target.DrawTestFrame();
    EXPECT_NE(aglGetError(), static_cast<GLenum>(AGL_NO_ERROR));
    EXPECT_EQ(target.buffer->BlitToFront(nullptr, 0, 0), 1);
    EXPECT_EQ(aglGetError(), static_cast<GLenum>(AGL_BAD_DRAWABLE));
    target.buffer->Reallocate(20, 20, 1);
    target.DrawTestFrame();
    // One that is remade has no port at all, and draws on nothing.
    EXPECT_EQ(aglGetError(), static_cast<GLenum>(mode == 2 ? AGL_BAD_DRAWABLE : AGL_NO_ERROR));
  }
}

TEST_F(WindowTest, ClosingIsUpToTheProgram) {
  struct Stubborn : TestWindow {
    using TestWindow::TestWindow;
    void OnClose() override { asked++; }
    int asked = 0;
  };
  Stubborn stubborn(kShown, 0, 0, 20, 20);
  TestWindow willing(kShown, 0, 0, 20, 20);
  platform::PumpWindows();
  for (const TestWindow* window : {static_cast<TestWindow*>(&stubborn), &willing}) {
    Other().AskToClose(platform::NativeWindow(window->m_hWnd));
  }
  platform::PumpWindows();
  EXPECT_EQ(stubborn.asked, 1);
  EXPECT_NE(stubborn.m_hWnd, nullptr);
  EXPECT_EQ(willing.m_hWnd, nullptr);
}

TEST_F(WindowTest, AnAdoptedWindowStaysItsMakers) {
  const unsigned long number = Other().MakeWindow(50, 40);
  CWnd view;
  std::string reason;
  ASSERT_TRUE(view.Attach(platform::AdoptWindow(number, &reason))) << reason;
  EXPECT_EQ(platform::AdoptWindow(number), view.m_hWnd);
  EXPECT_FALSE(CWnd().Attach(view.m_hWnd)) << "it has an object";
  std::optional<WindowTarget> target;
  target.emplace(Driver(), &view, 2);
  ExpectTestFrame(view, *target);
  view.MoveWindow(0, 0, 99, 99);
  EXPECT_EQ(Shown(view).size(), 50u * 40);
  Other().Resize(number, 77, 33);
  target->Fit();
  ExpectTestFrame(view, *target);
  EXPECT_EQ(Shown(view).size(), 77u * 33);

  EXPECT_TRUE(view.DestroyWindow());
  EXPECT_TRUE(Other().Exists(number));
  ASSERT_TRUE(view.Attach(platform::AdoptWindow(number, &reason))) << reason << ", once more";
  target.emplace(Driver(), &view, 2);
  ExpectTestFrame(view, *target);

  Other().Destroy(number);
  target->DrawTestFrame();
  target->buffer->BlitToFront(nullptr, 0, 0);
  EXPECT_EQ(aglGetError(), static_cast<GLenum>(AGL_BAD_DRAWABLE)) << "its maker ended it";
  EXPECT_EQ(view.m_hWnd, nullptr);
}

TEST_F(WindowTest, ItsEndIsNoticedByWhoeverAsksFirst) {
  void (*const ask[])(CWnd&, WindowTarget&) = {
      [](CWnd&, WindowTarget& target) {
        EXPECT_FALSE(aglUpdateContext(target.buffer->Context()));
        EXPECT_EQ(aglGetError(), static_cast<GLenum>(AGL_BAD_DRAWABLE));
      },
      [](CWnd& view, WindowTarget&) {
        RECT rect;
        view.GetClientRect(&rect);
      },
      [](CWnd& view, WindowTarget&) {
        EXPECT_EQ(GetPortPixMap(CheckoutPort(GetDC(view.m_hWnd), 0)), nullptr);
      },
      [](CWnd&, WindowTarget&) { platform::PumpWindows(); }};
  for (const auto& one : ask) {
    const unsigned long number = Other().MakeWindow(50, 40);
    CWnd view;
    ASSERT_TRUE(view.Attach(platform::AdoptWindow(number)));
    WindowTarget target(Driver(), &view, 3);
    Other().Destroy(number);
    one(view, target);
    EXPECT_EQ(view.m_hWnd, nullptr);
  }
}

TEST_F(WindowTest, WindowsThatCannotBeDrawnIntoAreRefused) {
  std::string reason;
  const unsigned long translucent = Other().MakeWindow(20, 20, true);
  ASSERT_NE(translucent, 0u);
  EXPECT_EQ(platform::AdoptWindow(translucent, &reason), nullptr);
  EXPECT_TRUE(Holds(reason, {"its visual is"}));
  EXPECT_EQ(platform::AdoptWindow(12345, &reason), nullptr);
  EXPECT_TRUE(Holds(reason, {"12345"}));
  EXPECT_EQ(platform::AdoptWindow(0), nullptr);

  // A context of a single-buffered format, whatever it may get.
  TestWindow view(kShown, 0, 0, 20, 20);
  const GLint attributes[] = {AGL_RGBA, AGL_DEPTH_SIZE, 0, AGL_NONE};
  const AGLContext context =
      aglCreateContext(aglChoosePixelFormat(nullptr, 0, attributes), nullptr);
  EXPECT_FALSE(aglSetDrawable(context, CheckoutPort(GetDC(view.m_hWnd), 0)));
  EXPECT_EQ(aglGetError(), static_cast<GLenum>(AGL_BAD_MATCH));
  EXPECT_TRUE(aglDestroyContext(context));
}

TEST_F(WindowTest, PopupsStayOffTheScreen) {
  TestWindow popup(WS_POPUP | kShown, 3, 4, 64, 48);
  EXPECT_EQ(platform::NativeWindow(popup.m_hWnd), 0u);
  TestWindow inside(WS_CHILD | kShown, 1, 1, 8, 8, &popup);
  EXPECT_EQ(platform::NativeWindow(inside.m_hWnd), 0u);
  WindowTarget target(Driver(), &popup, 3);
  target.DrawTestFrame();
  target.buffer->BlitToFront(nullptr, 0, 0);
  const PixMapHandle map = GetPortPixMap(CheckoutPort(GetDC(popup.m_hWnd), 0));
  EXPECT_EQ(*reinterpret_cast<std::uint32_t*>(GetPixBaseAddr(map)), 0xFFFF0000u);
}

using TextTest = DriverFixture;  // a hidden window does

TEST_F(TextTest, KnowsLatin1AndIsWholeOverAnything) {
  constexpr int kSide = 40;
  TestWindow view(WS_POPUP, 0, 0, kSide, kSide);
  WindowTarget target(Driver(), &view, 3);
  struct Ink {
    int left = kSide, top = kSide, bottom = 0, count = 0;
  };
  GAColor grey = Rgb(90, 90, 90);
  std::set<std::vector<std::uint32_t>> different;
  const auto write = [&](const std::string& text) {
    target.Begin();
    target.buffer->AfxFillRect(0, 0, kSide, kSide, -2, grey);  // nearer than text
    target.buffer->TextOutA(10, 10, text.c_str(), Rgb(0x32, 0x64, 0xC8), 0);
    const std::vector<std::uint32_t> frame = target.Drawn();
    different.insert(frame);
    Ink ink;
    for (int i = 0; i < kSide * kSide; i++) {
      if (frame.at(static_cast<std::size_t>(i)) != 0x3264C8) continue;
      ink = {std::min(ink.left, i % kSide), std::min(ink.top, i / kSide), i / kSide, ink.count + 1};
    }
    return ink;
  };
  const Ink plain = write("A"), dotted = write("\xC4");
  EXPECT_EQ(plain.bottom, 20) << "above the baseline, which lies 11 below the place";
  EXPECT_LT(dotted.top, plain.top) << "the dots of the umlaut";
  EXPECT_EQ(dotted.bottom, plain.bottom);
  EXPECT_GT(write("\xC7").bottom, write("C").bottom) << "the cedilla";
  for (int code = 0xA1; code <= 0xFF; code++) {
    const bool mayBeEmpty = code == 0xAD;  // the soft hyphen
    EXPECT_TRUE(mayBeEmpty || write(std::string(1, static_cast<char>(code))).count > 0) << code;
  }
  EXPECT_GE(different.size(), 90u);
  EXPECT_EQ(write("\xA0 ").count, 0);
  EXPECT_GT(write(" A").left, plain.left) << "a blank moves on";
}

/// In a process of its own: windows were asked for, and no server answers.
void DrawWithoutServer(const char* display) {
  setenv("DISPLAY", display, 1);
  TestWindow view(kShown, 0, 0, 20, 20);
  std::string reason;
  const bool refused = !platform::AdoptWindow(1, &reason);
  std::fprintf(stderr, "[%s] %d %d %d %s", platform::DescribeDisplay().platform.c_str(),
               view.m_hWnd && platform::NativeWindow(view.m_hWnd) == 0, refused,
               platform::UseWindows(true), platform::DescribeDisplay().reason.c_str());
  std::exit(0);
}

TEST(ServerDeathTest, WithoutServerWindowsAreHidden) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(DrawWithoutServer(""), testing::ExitedWithCode(0),
              "^\\[(device|surfaceless)\\] 1 1 0 .*DISPLAY is not set; ");
  EXPECT_EXIT(DrawWithoutServer(":4711"), testing::ExitedWithCode(0),
              "^\\[(device|surfaceless)\\] 1 1 0 .*DISPLAY=:4711 does not answer; ");
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  gl3::XServer server;
  // Processes that a test starts take the server that is there.
  if (!std::getenv("GL3_TEST_DISPLAY")) setenv("GL3_TEST_DISPLAY", server.Start().c_str(), 1);
  setenv("DISPLAY", std::getenv("GL3_TEST_DISPLAY"), 1);
  unsetenv("GL3_PLATFORM");
  platform::UseWindows(true);
  const int result = RUN_ALL_TESTS();
  if (result != 0 || testing::UnitTest::GetInstance()->skipped_test_count() == 0) return result;
  std::fprintf(stderr,
               "window_tests: no Xvfb here, its tests were skipped; apt-get install xvfb\n");
  return kSkipped;
}
