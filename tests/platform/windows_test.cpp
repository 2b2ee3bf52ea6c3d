// Hidden windows, device contexts, ports, message boxes and modules.
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "platform/mfc.h"
#include "platform/ports.h"
#include "tests/platform/contexts_fixture.h"

namespace {

class Windows : public PlatformTest {
 protected:
  static BOOL Create(CWnd& window, int x, int y, int width, int height, HWND parent = nullptr) {
    return window.CreateEx(0, AfxRegisterWndClass(CS_OWNDC, nullptr, nullptr, nullptr), "test",
                           WS_POPUP, x, y, width, height, parent, nullptr, nullptr);
  }
  static std::uint32_t Shown(CGrafPtr port, int x, int y) {
    const PixMapHandle map = GetGWorldPixMap(port);
    std::uint32_t pixel = 0;
    std::memcpy(&pixel, GetPixBaseAddr(map) + y * ((*map)->rowBytes & 0x7FFF) + x * 4, 4);
    return pixel;
  }
};

constexpr std::uint32_t kShownRed = 0xFFFF0000;
constexpr std::uint32_t kShownGreen = 0xFF00FF00;

TEST_F(Windows, SwapShowsTheFrameTopRowFirst) {
  CWnd window;
  ASSERT_TRUE(Create(window, 0, 0, 5, 4));
  const HDC dc = GetDC(window.GetSafeHwnd());
  const CGrafPtr port = CheckoutPort(dc, 0);
  const PixMapHandle map = GetPortPixMap(port);
  ASSERT_TRUE(LockPixels(map));
  EXPECT_EQ((*map)->rowBytes, 0x8000 | 20);
  EXPECT_EQ((*map)->bounds.right, 5);
  EXPECT_EQ((*map)->bounds.bottom, 4);

  const AGLContext context = MakeContext();
  ASSERT_TRUE(aglSetDrawable(context, port));
  ASSERT_TRUE(aglSetCurrentContext(context));
  ASSERT_EQ(InitializeGlew(), 0u);
  Fill(0, 0, 5, 4, kGreen);
  Fill(0, 3, 5, 1, kRed);  // GL's top row
  // A program's own reading state, which the swap neither heeds nor changes.
  glPixelStorei(GL_PACK_ROW_LENGTH, 99);
  glPixelStorei(GL_PACK_SKIP_ROWS, 7);
  glPixelTransferf(GL_RED_BIAS, 1);
  GLuint buffer = 0, framebuffer = 0;
  glGenBuffers(1, &buffer);
  glBindBuffer(GL_PIXEL_PACK_BUFFER, buffer);
  glGenFramebuffers(1, &framebuffer);
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
  EXPECT_EQ(Shown(port, 0, 0), 0u);
  aglSwapBuffers(context);
  EXPECT_EQ(Shown(port, 4, 0), kShownRed);
  EXPECT_EQ(Shown(port, 0, 1), kShownGreen);
  EXPECT_EQ(Shown(port, 4, 3), kShownGreen);
  GLint value = 0;
  glGetIntegerv(GL_PACK_ROW_LENGTH, &value);
  EXPECT_EQ(value, 99);
  glGetIntegerv(GL_PIXEL_PACK_BUFFER_BINDING, &value);
  EXPECT_EQ(value, static_cast<GLint>(buffer));
  glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &value);
  EXPECT_EQ(value, static_cast<GLint>(framebuffer));
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
}

TEST_F(Windows, ContextFitsAResizedWindowWhenItIsUpdated) {
  CWnd window;
  ASSERT_TRUE(Create(window, 0, 0, 2, 2));
  const CGrafPtr port = CheckoutPort(GetDC(window.GetSafeHwnd()), 1);
  const AGLContext context = MakeContext();
  const GLint interval = 1;
  EXPECT_TRUE(aglEnable(context, AGL_BUFFER_RECT));
  EXPECT_TRUE(aglSetInteger(context, AGL_SWAP_INTERVAL, &interval));
  ASSERT_TRUE(aglSetDrawable(context, port));
  ASSERT_TRUE(aglSetCurrentContext(context));
  window.MoveWindow(0, 0, 6, 3);
  Fill(0, 0, 2, 2, kRed);
  aglSwapBuffers(context);  // the frame is still the small one
  EXPECT_EQ(Shown(port, 1, 1), kShownRed);
  EXPECT_EQ(Shown(port, 5, 2), 0u);
  ASSERT_TRUE(aglUpdateContext(context));
  Fill(0, 0, 6, 3, kGreen);
  aglSetCurrentContext(nullptr);
  aglSwapBuffers(context);
  EXPECT_EQ(aglGetCurrentContext(), nullptr) << "a swap leaves no context current behind it";
  EXPECT_EQ(Shown(port, 5, 2), kShownGreen);
  EXPECT_EQ(Shown(port, 0, 0), kShownGreen);
  window.MoveWindow(0, 0, 0, 7);
  EXPECT_EQ((*GetGWorldPixMap(port))->bounds.right, 6) << "no such size: it stays as it was";
}

TEST_F(Windows, EverythingOfAWindowDiesWithIt) {
  CWnd window, inside;
  ASSERT_TRUE(Create(window, 10, 20, 4, 4));
  ASSERT_TRUE(Create(inside, 1, 2, 2, 2, window.GetSafeHwnd()));
  CRect rect;
  inside.GetClientRect(&rect);
  inside.ClientToScreen(&rect);
  EXPECT_EQ(rect.left, 11);
  EXPECT_EQ(rect.bottom, 24);
  EXPECT_EQ(AfxGetParent(&inside), &window);
  EXPECT_EQ(AfxGetParent(&window), nullptr);
  EXPECT_EQ(inside.GetParentFrame(), &window);
  EXPECT_EQ(window.GetParentFrame(), nullptr);
  EXPECT_FALSE(CWnd().Attach(inside.GetSafeHwnd())) << "it has an object already";

  const HWND handle = window.GetSafeHwnd();
  const HDC dc = GetDC(handle);
  EXPECT_NE(dc, GetDC(handle));
  EXPECT_EQ(CDC::FromHandle(dc)->m_hDC, dc);
  const CGrafPtr port = CheckoutPort(dc, 0);
  const HDC wrapped = WrapPort(port);
  EXPECT_EQ(CheckoutPort(wrapped, 0), port);
  UnwrapPort(wrapped);
  EXPECT_EQ(CheckoutPort(wrapped, 0), nullptr);
  const PixMapHandle map = GetPortPixMap(port);
  const AGLContext context = MakeContext();
  ASSERT_TRUE(aglSetDrawable(context, port));
  ASSERT_TRUE(aglSetCurrentContext(context));

  DisposeWindow(port);
  EXPECT_EQ(window.GetSafeHwnd(), nullptr);
  EXPECT_EQ(inside.GetSafeHwnd(), nullptr);
  EXPECT_FALSE(window.DestroyWindow());
  EXPECT_EQ(GetDC(handle), nullptr);
  EXPECT_EQ(CDC::FromHandle(dc), nullptr);
  EXPECT_FALSE(DeleteDC(dc));
  EXPECT_EQ(CheckoutPort(dc, 0), nullptr);
  EXPECT_EQ(WrapPort(port), nullptr);
  EXPECT_EQ(GetGWorldPixMap(port), nullptr);
  EXPECT_FALSE(LockPixels(map));
  EXPECT_EQ(GetPixBaseAddr(map), nullptr);
  EXPECT_FALSE(ForceDraw(handle));
  CheckinPort(dc, 32768);
  Fill(0, 0, 1, 1, kRed);
  EXPECT_TRUE(aglSetCurrentContext(context));
  ExpectError(aglSetDrawable(context, port), AGL_BAD_DRAWABLE);
  aglSwapBuffers(context);
  ExpectError(GL_FALSE, AGL_BAD_DRAWABLE);
}

TEST_F(Windows, BadWindowsAreNotMade) {
  CWnd window;
  EXPECT_FALSE(window.CreateEx(0, "no such class", "", 0, 0, 0, 2, 2, nullptr, nullptr, nullptr));
  EXPECT_FALSE(Create(window, 0, 0, 0, 2));
  EXPECT_FALSE(Create(window, 0, 0, 2, -2));
  EXPECT_FALSE(Create(window, 0, 0, 10000, 2)) << "wider than a pixel map's rows can be";
  EXPECT_FALSE(window.DestroyWindow());
  const HDC dc = CreateCompatibleDC(nullptr);
  ASSERT_NE(dc, nullptr);
  EXPECT_EQ(CheckoutPort(dc, 1), nullptr);
  EXPECT_TRUE(DeleteDC(dc));
  EXPECT_EQ(CreateCompatibleDC(dc), nullptr);
}

TEST(Modules, TheRunningProgramKnowsItsFile) {
  const std::string program = std::filesystem::read_symlink("/proc/self/exe");
  const auto length = static_cast<DWORD>(program.size());
  char path[4096];
  for (const HMODULE module : {GetModuleHandleA(nullptr), static_cast<HMODULE>(nullptr)}) {
    EXPECT_EQ(GetModuleFileNameA(module, path, sizeof path), length);
    EXPECT_EQ(path, program);
  }
  EXPECT_EQ(GetModuleFileNameA(nullptr, path, length + 1), length) << "just fits";
  EXPECT_EQ(GetModuleFileNameA(nullptr, path, length), length) << "cut";
  EXPECT_EQ(path, program.substr(0, length - 1));
  EXPECT_EQ(GetModuleHandleA("other"), nullptr);
  EXPECT_EQ(GetModuleFileNameA(reinterpret_cast<HMODULE>(8), path, sizeof path), 0u);
  EXPECT_STREQ(path, "");
  EXPECT_EQ(GetModuleFileNameA(nullptr, path, 0), 0u);
}

std::string g_boxText;

TEST_F(Windows, MessageBoxesGoToTheViewElseToStandardError) {
  const MessageBoxView before = SetMessageBoxView([](const char* text, unsigned int) {
    g_boxText = text;
    return 7;
  });
  EXPECT_EQ(AfxMessageBox("shown", 0, 0), 7);
  EXPECT_EQ(g_boxText, "shown");
  SetMessageBoxView(nullptr);
  testing::internal::CaptureStderr();
  EXPECT_EQ(AfxMessageBox("100% failed", 0, 0), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "100% failed\n");
  EXPECT_EQ(g_boxText, "shown");
  SetMessageBoxView(before);
}

TEST_F(Windows, ModulesStandInTheChainAsLongAsTheyLive) {
  AFX_EXTENSION_MODULE records[3];
  int module = 0;
  EXPECT_TRUE(AfxInitExtensionModule(records[0], reinterpret_cast<HMODULE>(&module)));
  EXPECT_TRUE(AfxInitExtensionModule(records[0], nullptr));
  EXPECT_EQ(records[0].hModule, reinterpret_cast<HMODULE>(&module));
  const CDynLinkLibrary first(records[0]);
  auto second = std::make_unique<CDynLinkLibrary>(records[1]);
  const CDynLinkLibrary third(records[2]);
  EXPECT_EQ(CDynLinkLibrary::First(), &third);
  EXPECT_EQ(third.Next(), second.get());
  second.reset();
  EXPECT_EQ(third.Next(), &first);
  EXPECT_EQ(first.Next(), nullptr);
}

}  // namespace
