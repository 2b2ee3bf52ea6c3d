// Buffers on windows, and what they show.
#include "tests/window/window_fixture.h"

#include <cstdlib>

#include "platform/platform.h"
#include "tests/support/gl_recorder.h"

namespace {
constexpr float kIdentity[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};
}

TestWindow::TestWindow(DWORD style, int x, int y, int width, int height, CWnd* parent) {
  CreateEx(0, AfxRegisterWndClass(CS_OWNDC, nullptr, nullptr, nullptr), "t\xC3\xABst", style, x, y,
           width, height, parent ? parent->m_hWnd : nullptr, nullptr, nullptr);
}

void WindowTarget::Fit(bool depth) {
  RECT client;
  m_view->GetClientRect(&client);
  const float halfWidth = static_cast<float>(client.right) / 2;
  const float halfHeight = static_cast<float>(client.bottom) / 2;
  info.viewWindow = m_view;
  info.scene = &scene;
  info.objectToView = kIdentity;
  info.originX = info.viewRight = halfWidth;
  info.originY = info.viewTop = halfHeight;
  info.viewLeft = -halfWidth;
  info.viewBottom = -halfHeight;
  info.imageWidth = info.pixelRight = client.right;
  info.imageHeight = info.pixelBottom = client.bottom;
  if (!buffer) {
    buffer.reset(static_cast<GL3GABuffer*>(m_driver->CreateBuffer(&info, m_mode, 0)));
    info.buffer = buffer.get();
    list.reset(static_cast<GL3DisplayList*>(m_driver->CreateDisplayList(&info)));
  }
  buffer->Reallocate(client.right, client.bottom, depth ? 1 : 0);
  buffer->ComputeProjectionMatrices();
}

void WindowTarget::DrawTestFrame() {
  buffer->SetBackground(Rgb(10, 20, 30));
  buffer->Clear();
  buffer->SetProjection(1);
  AttrProperty white = Material(1, 1, 1);
  list->BeginInstructions();
  list->SetupLights(nullptr);
  list->SetMaterial(&white, 0);
  list->AddTransformedQuad(Square(0, 0, 10, -9).data(), 1, 0);
  list->EndInstructions();
  buffer->EndScene();
  GAColor corners[] = {Rgb(255, 0, 0), Rgb(0, 255, 0), Rgb(0, 0, 255), Rgb(255, 255, 255)};
  const int right = info.imageWidth - 5;
  const int bottom = info.imageHeight - 3;
  buffer->AfxFillRect(0, 0, 5, 3, -9, corners[0]);
  buffer->AfxFillRect(right, 0, 5, 3, -9, corners[1]);
  buffer->AfxFillRect(0, bottom, 5, 3, -9, corners[2]);
  buffer->AfxFillRect(right, bottom, 5, 3, -9, corners[3]);
}

Frame WindowTarget::Drawn() {
  const GlRecorderPause pause;
  buffer->IsFogEnabled();  // makes the buffer current and changes nothing
  const auto width = static_cast<std::size_t>(info.imageWidth);
  const auto height = static_cast<std::size_t>(info.imageHeight);
  std::vector<std::uint8_t> pixels(width * height * 4);
  glPixelStorei(GL_PACK_ROW_LENGTH, 0);
  glReadPixels(0, 0, info.imageWidth, info.imageHeight, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
  Frame frame;
  for (std::size_t y = height; y-- > 0;) {
    for (std::size_t x = 0; x < width; x++) {
      const std::uint8_t* pixel = &pixels[(y * width + x) * 4];
      frame.push_back(static_cast<std::uint32_t>(pixel[0] << 16 | pixel[1] << 8 | pixel[2]));
    }
  }
  return frame;
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

Frame WindowFixture::Shown(const CWnd& window) {
  ForceDraw(window.GetSafeHwnd());
  RECT client;
  window.GetClientRect(&client);
  return m_other->Pixels(platform::NativeWindow(window.GetSafeHwnd()), client.right, client.bottom);
}
