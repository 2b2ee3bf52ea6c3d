// Buffers on windows, and what they show.
#include "tests/window/window_fixture.h"

#include <cstdlib>

#include "platform/platform.h"

namespace {
RECT ClientOf(const CWnd& view) {
  RECT client;
  view.GetClientRect(&client);
  return client;
}
}  // namespace

TestWindow::TestWindow(DWORD style, int x, int y, int width, int height, CWnd* parent) {
  CreateEx(0, AfxRegisterWndClass(CS_OWNDC, nullptr, nullptr, nullptr), "t\xC3\xABst", style, x, y,
           width, height, parent ? parent->m_hWnd : nullptr, nullptr, nullptr);
}

WindowTarget::WindowTarget(GADriver* driver, CWnd* view, int mode)
    : OffscreenTarget(driver, ClientOf(*view).right, ClientOf(*view).bottom, mode, view) {}

void WindowTarget::Fit(bool depth) {
  const RECT client = ClientOf(*info.viewWindow);
  info.imageWidth = info.pixelRight = client.right;
  info.imageHeight = info.pixelBottom = client.bottom;
  buffer->Reallocate(client.right, client.bottom, depth ? 1 : 0);
  SetView(1, 1, static_cast<float>(client.right) / 2, static_cast<float>(client.bottom) / 2);
}

void WindowTarget::DrawTestFrame() {
  Begin(10, 20, 30);
  AttrProperty white = Material(1, 1, 1);
  list->BeginInstructions();
  list->SetupLights(nullptr);
  list->SetMaterial(&white, 0);
  list->AddTransformedQuad(Square(0, 0, 10, -9).data(), 1, 0);
  list->EndInstructions();
  End();
  GAColor corners[] = {Rgb(255, 0, 0), Rgb(0, 255, 0), Rgb(0, 0, 255), Rgb(255, 255, 255)};
  const int right = info.imageWidth - 5;
  const int bottom = info.imageHeight - 3;
  buffer->AfxFillRect(0, 0, 5, 3, -9, corners[0]);
  buffer->AfxFillRect(right, 0, 5, 3, -9, corners[1]);
  buffer->AfxFillRect(0, bottom, 5, 3, -9, corners[2]);
  buffer->AfxFillRect(right, bottom, 5, 3, -9, corners[3]);
}

void WindowFixture::SetUp() {
  if (!*std::getenv("DISPLAY")) GTEST_SKIP() << "no X server: Xvfb is missing";
  DriverFixture::SetUp();
  m_other = std::make_unique<XClient>();
  ASSERT_EQ(platform::DescribeDisplay().platform, "x11") << platform::DescribeDisplay().reason;
}

void WindowFixture::TearDown() {
  m_other.reset();
  DriverFixture::TearDown();
}

std::vector<std::uint32_t> WindowFixture::Shown(const CWnd& window) {
  ForceDraw(window.GetSafeHwnd());
  const RECT client = ClientOf(window);
  return m_other->Pixels(platform::NativeWindow(window.GetSafeHwnd()), client.right, client.bottom);
}
