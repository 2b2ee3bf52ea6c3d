// A driver, initialised and current, and targets to draw into.
#include "tests/support/driver_fixture.h"

#include "buffer/GL3Color.h"
#include "hostkit/services/current_driver.h"
#include "hostkit/services/host_heaps.h"
#include "hostkit/services/registry.h"
#include "platform/platform.h"

namespace {

constexpr float kIdentity[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};

}  // namespace

OffscreenTarget::OffscreenTarget(GADriver* driver, int width, int height, int mode, CWnd* view) {
  info.viewWindow = view;
  info.scene = &scene;
  info.objectToView = kIdentity;
  info.imageWidth = info.pixelRight = width;
  info.imageHeight = info.pixelBottom = height;
  buffer.reset(static_cast<GL3GABuffer*>(driver->CreateBuffer(&info, mode, 0)));
  if (!buffer) return;
  info.buffer = buffer.get();
  list.reset(static_cast<GL3DisplayList*>(driver->CreateDisplayList(&info)));
  ready = buffer->Reallocate(width, height, 1) == 1;
  if (ready) SetView(1, 1, static_cast<float>(width) / 2, static_cast<float>(height) / 2);
}

void OffscreenTarget::SetView(float scaleX, float scaleY, float originX, float originY) {
  info.scaleX = scaleX;
  info.scaleY = scaleY;
  info.originX = originX;
  info.originY = originY;
  info.viewLeft = -originX / scaleX;
  info.viewRight = (static_cast<float>(info.imageWidth) - originX) / scaleX;
  info.viewTop = originY / scaleY;
  info.viewBottom = (originY - static_cast<float>(info.imageHeight)) / scaleY;
  buffer->ComputeProjectionMatrices();
}

void OffscreenTarget::Begin(int red, int green, int blue) {
  buffer->SetBackground(Rgb(red, green, blue));
  buffer->Clear();
  buffer->SetProjection(1);
  buffer->BeginScene();
}

void OffscreenTarget::End() {
  list->FlushArrays();
  buffer->EndScene();
}

std::vector<std::uint32_t> OffscreenTarget::Drawn() {
  const GlRecorderPause pause;
  buffer->IsFogEnabled();  // makes the buffer current and changes nothing
  const auto width = static_cast<std::size_t>(info.imageWidth);
  const auto height = static_cast<std::size_t>(info.imageHeight);
  std::vector<std::uint8_t> pixels(width * height * 4);
  glPixelStorei(GL_PACK_ROW_LENGTH, 0);
  glReadPixels(0, 0, info.imageWidth, info.imageHeight, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
  std::vector<std::uint32_t> frame;
  for (std::size_t y = height; y-- > 0;) {
    for (std::size_t x = 0; x < width; x++) {
      const std::uint8_t* pixel = &pixels[(y * width + x) * 4];
      frame.push_back(static_cast<std::uint32_t>(pixel[0] << 16 | pixel[1] << 8 | pixel[2]));
    }
  }
  return frame;
}

TestBitmap SolidBitmap(int width, int height, std::array<int, 4> rgba) {
  TestBitmap bitmap(new HBitmapNode(width, height));
  HRGBABuffer* buffer =
      bitmap->CreateRGBABuffer("Color", HBitmapBuffer::kByteChannel, width, height);
  bitmap->AddBuffer(buffer);
  buffer->AllocateData(0);
  auto* bytes = static_cast<std::uint8_t*>(buffer->Data());
  for (std::size_t i = 0; i < static_cast<std::size_t>(width) * height * 4; ++i) {
    bytes[i] = static_cast<std::uint8_t>(rgba.at(i % 4));
  }
  return bitmap;
}

GAColor Rgb(int red, int green, int blue, int alpha) {
  return GAColor(
      new GL3Color(ColorBuf{static_cast<std::uint8_t>(red), static_cast<std::uint8_t>(green),
                            static_cast<std::uint8_t>(blue), static_cast<std::uint8_t>(alpha)}));
}

Lines Alive() {
  const hostkit::HeapCounts heaps = hostkit::CountHeaps();
  const platform::HandleCounts handles = platform::CountHandles();
  return {"gassist " + std::to_string(heaps.gassist.blocks),
          "ogl " + std::to_string(heaps.ogl.blocks),
          "ext " + std::to_string(heaps.ext.blocks),
          "string " + std::to_string(heaps.string.blocks),
          "contexts " + std::to_string(handles.contexts),
          "pbuffers " + std::to_string(handles.pbuffers),
          "windows " + std::to_string(handles.windows),
          "device contexts " + std::to_string(handles.deviceContexts)};
}

void DriverFixture::SetUp() {
  ASSERT_NE(RemakeDriver(), nullptr);
  ASSERT_EQ(m_driver->Initialize(), 1);
}

void DriverFixture::TearDown() {
  hostkit::SetDriver(nullptr);
  m_driver.reset();
  hostkit::ReloadRegistry();
}

DriverFixture::~DriverFixture() {
  EXPECT_EQ(Alive(), m_alive);
}

GL3GADriver* DriverFixture::RemakeDriver() {
  hostkit::SetDriver(nullptr);
  m_driver.reset();
  m_driver.reset(static_cast<GL3GADriver*>(CreateDriver()));
  hostkit::SetDriver(m_driver.get());
  return m_driver.get();
}
