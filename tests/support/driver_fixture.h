// A driver, initialised and current, and targets to draw into.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "buffer/GL3Buffer.h"
#include "buffer/GL3Color.h"
#include "displaylist/GL3DisplayL.h"
#include "driver/GL3Driver.h"
#include "host/Bitmap.h"
#include "hostkit/services/bitmap_ptr.h"
#include "hostkit/services/current_driver.h"
#include "hostkit/services/host_heaps.h"
#include "hostkit/services/registry.h"
#include "platform/platform.h"
#include "tests/support/gl_recorder.h"

/// A colour, 0 to 255 a channel; made without a driver, for members of fixtures.
inline GAColor Rgb(int red, int green, int blue, int alpha = 255) {
  return GAColor(
      new GL3Color(ColorBuf{static_cast<std::uint8_t>(red), static_cast<std::uint8_t>(green),
                            static_cast<std::uint8_t>(blue), static_cast<std::uint8_t>(alpha)}));
}

/// A buffer with depth, off-screen unless its mode says otherwise, and a display list that draws
/// into it. The view is parallel, its units are pixels with the origin in the middle of the picture
/// and y up until SetView; z from -1 (near) to -1000 is visible, and objects lie in view space as
/// they are.
struct OffscreenTarget {
  static constexpr float kIdentity[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};

  OffscreenTarget(GADriver* driver, int width, int height, int mode = GL3GABuffer::kOffScreen,
                  CWnd* view = nullptr) {
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
  OffscreenTarget(const OffscreenTarget&) = delete;
  OffscreenTarget& operator=(const OffscreenTarget&) = delete;

  /// Another parallel view: so many pixels a view unit, around the view's origin, which lies so
  /// many pixels from the left and the top.
  void SetView(float scaleX, float scaleY, float originX, float originY) {
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

  /// Clears to a colour, 0 to 255 a channel, and loads the scene projection.
  void Begin(int red = 0, int green = 0, int blue = 0) {
    buffer->SetBackground(Rgb(red, green, blue));
    buffer->Clear();
    buffer->SetProjection(1);
    buffer->BeginScene();
  }
  /// Draws what waits in the display list, then the transparent polygons.
  void End() {
    list->FlushArrays();
    buffer->EndScene();
  }

  /// What lies in the buffer, rows from the top, 0xRRGGBB.
  std::vector<std::uint32_t> Drawn() {
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

  RenderInfo info;
  SceneRecord scene;
  std::unique_ptr<GL3GABuffer> buffer;  ///< Null when the driver could not make one.
  std::unique_ptr<GL3DisplayList> list;
  bool ready = false;  ///< Whether the buffer has a surface.
};

using TestBitmap = hostkit::BitmapPtr;

/// A bitmap with a "Color" buffer, one colour throughout.
inline TestBitmap SolidBitmap(int width, int height, std::array<int, 4> rgba) {
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

/// How many blocks of the host's heaps and objects of the platform layer are alive, a line a kind.
inline Lines Alive() {
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

/// Makes a driver for each test, makes it the host's and initialises it. A test that draws names
/// this as its fixture; one that looks at initialisation itself derives and overrides SetUp. A test
/// fails that leaves blocks on the host's heaps or objects of the platform layer behind.
class DriverFixture : public testing::Test {
 protected:
  ~DriverFixture() override { EXPECT_EQ(Alive(), m_alive); }
  void SetUp() override {
    ASSERT_NE(RemakeDriver(), nullptr);
    ASSERT_EQ(m_driver->Initialize(), 1);
  }
  void TearDown() override {
    hostkit::SetDriver(nullptr);
    m_driver.reset();
    hostkit::ReloadRegistry();
  }

  /// A new driver as the current one, not initialised; the one before is deleted.
  GL3GADriver* RemakeDriver() {
    hostkit::SetDriver(nullptr);
    m_driver.reset();
    m_driver.reset(static_cast<GL3GADriver*>(CreateDriver()));
    hostkit::SetDriver(m_driver.get());
    return m_driver.get();
  }
  GL3GADriver* Driver() const { return m_driver.get(); }

 private:
  const Lines m_alive = Alive();
  std::unique_ptr<GL3GADriver> m_driver;
};
