// A driver, initialised and current, and off-screen drawing on it.
#include "tests/support/driver_fixture.h"

#include <cstdint>
#include <vector>

#include "hostkit/services/current_driver.h"
#include "hostkit/services/registry.h"
#include "platform/gl.h"
#include "tests/support/gl_recorder.h"

namespace {

constexpr float kIdentity[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};

}  // namespace

OffscreenTarget::OffscreenTarget(GADriver* driver, int width, int height) {
  info.scene = &scene;
  info.objectToView = kIdentity;
  info.imageWidth = info.pixelRight = width;
  info.imageHeight = info.pixelBottom = height;
  buffer.reset(driver->CreateBuffer(&info, 1, 0));
  if (!buffer) return;
  info.buffer = buffer.get();
  ready = buffer->Reallocate(width, height, 1) == 1;
  if (ready) SetView(1, 1, static_cast<float>(width) / 2, static_cast<float>(height) / 2);
  list.reset(driver->CreateDisplayList(&info));
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
  GAColor color;
  color.Set(static_cast<unsigned char>(red), static_cast<unsigned char>(green),
            static_cast<unsigned char>(blue), 255);
  buffer->SetBackground(color);
  buffer->Clear();
  buffer->SetProjection(1);
  buffer->BeginScene();
}

void OffscreenTarget::End() {
  list->FlushArrays();
  buffer->EndScene();
}

std::array<int, 4> OffscreenTarget::Pixel(int x, int y) {
  const GlRecorderPause pause;
  buffer->IsFogEnabled();  // makes the buffer current and changes nothing
  std::uint8_t pixel[4] = {};
  glReadPixels(x, info.imageHeight - 1 - y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel);
  return {pixel[0], pixel[1], pixel[2], pixel[3]};
}

float OffscreenTarget::Depth(int x, int y) {
  const GlRecorderPause pause;
  buffer->IsFogEnabled();
  float depth = -1;
  glReadPixels(x, info.imageHeight - 1 - y, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
  return depth;
}

int OffscreenTarget::CountOther(std::array<int, 3> color) {
  const GlRecorderPause pause;
  buffer->IsFogEnabled();
  const auto size = static_cast<std::size_t>(info.imageWidth) * info.imageHeight;
  std::vector<std::uint8_t> pixels(size * 4);
  glReadPixels(0, 0, info.imageWidth, info.imageHeight, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
  int others = 0;
  for (std::size_t i = 0; i < pixels.size(); i += 4) {
    if (pixels[i] != color[0] || pixels[i + 1] != color[1] || pixels[i + 2] != color[2]) ++others;
  }
  return others;
}

TestBitmap SolidBitmap(int width, int height, std::array<int, 4> rgba) {
  TestBitmap bitmap(new HBitmapNode(width, height));
  HRGBABuffer* buffer =
      bitmap->CreateRGBABuffer("Color", HBitmapBuffer::kByteChannel, width, height);
  bitmap->AddBuffer(buffer);
  buffer->AllocateData(0);
  for (int y = 0; y < height; ++y) {
    auto* row = static_cast<std::uint8_t*>(buffer->GetData(y));
    for (int i = 0; i < width * 4; ++i) {
      row[i] = static_cast<std::uint8_t>(rgba.at(static_cast<std::size_t>(i) % 4));
    }
  }
  return bitmap;
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
  const hostkit::HeapCounts heaps = hostkit::CountHeaps();
  EXPECT_EQ(heaps.gassist.blocks, m_heaps.gassist.blocks) << "driver, colours, buffers, lists";
  EXPECT_EQ(heaps.ogl.blocks, m_heaps.ogl.blocks) << "transparent queue";
  EXPECT_EQ(heaps.ext.blocks, m_heaps.ext.blocks) << "blits, staging, bitmaps";
  EXPECT_EQ(heaps.string.blocks, m_heaps.string.blocks) << "strings";
  const platform::HandleCounts handles = platform::CountHandles();
  EXPECT_EQ(handles.contexts, m_handles.contexts);
  EXPECT_EQ(handles.pbuffers, m_handles.pbuffers);
  EXPECT_EQ(handles.windows, m_handles.windows);
  EXPECT_EQ(handles.deviceContexts, m_handles.deviceContexts);
}

GADriver* DriverFixture::RemakeDriver() {
  hostkit::SetDriver(nullptr);
  m_driver.reset();
  m_driver.reset(CreateDriver());
  hostkit::SetDriver(m_driver.get());
  return m_driver.get();
}

GAColor DriverFixture::Color(int red, int green, int blue, int alpha) const {
  return GAColor(m_driver->CreateColor(
      ColorBuf{static_cast<std::uint8_t>(red), static_cast<std::uint8_t>(green),
               static_cast<std::uint8_t>(blue), static_cast<std::uint8_t>(alpha)}));
}
