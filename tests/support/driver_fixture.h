// A driver, initialised and current, and targets to draw into.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <memory>

#include "buffer/GL3Buffer.h"
#include "displaylist/GL3DisplayL.h"
#include "driver/GL3Driver.h"
#include "host/Bitmap.h"
#include "hostkit/services/bitmap_ptr.h"
#include "tests/support/gl_recorder.h"

/// A buffer with depth, off-screen unless its mode says otherwise, and a display list that draws
/// into it. The view is parallel, its units are pixels with the origin in the middle of the picture
/// and y up until SetView; z from -1 (near) to -1000 is visible, and objects lie in view space as
/// they are.
struct OffscreenTarget {
  OffscreenTarget(GADriver* driver, int width, int height, int mode = GL3GABuffer::kOffScreen,
                  CWnd* view = nullptr);
  OffscreenTarget(const OffscreenTarget&) = delete;
  OffscreenTarget& operator=(const OffscreenTarget&) = delete;

  /// Another parallel view: so many pixels a view unit, around the view's origin, which lies so
  /// many pixels from the left and the top.
  void SetView(float scaleX, float scaleY, float originX, float originY);

  /// Clears to a colour, 0 to 255 a channel, and loads the scene projection.
  void Begin(int red = 0, int green = 0, int blue = 0);
  /// Draws what waits in the display list, then the transparent polygons.
  void End();

  /// What lies in the buffer, rows from the top, 0xRRGGBB.
  std::vector<std::uint32_t> Drawn();

  RenderInfo info;
  SceneRecord scene;
  std::unique_ptr<GL3GABuffer> buffer;  ///< Null when the driver could not make one.
  std::unique_ptr<GL3DisplayList> list;
  bool ready = false;  ///< Whether the buffer has a surface.
};

using TestBitmap = hostkit::BitmapPtr;

/// A bitmap with a "Color" buffer, one colour throughout.
TestBitmap SolidBitmap(int width, int height, std::array<int, 4> rgba);

/// A colour, 0 to 255 a channel; made without a driver, for members of fixtures.
GAColor Rgb(int red, int green, int blue, int alpha = 255);

/// How many blocks of the host's heaps and objects of the platform layer are alive, a line a kind.
Lines Alive();

/// Makes a driver for each test, makes it the host's and initialises it. A test that draws names
/// this as its fixture; one that looks at initialisation itself derives and overrides SetUp. A test
/// fails that leaves blocks on the host's heaps or objects of the platform layer behind.
class DriverFixture : public testing::Test {
 protected:
  ~DriverFixture() override;
  void SetUp() override;
  void TearDown() override;

  /// A new driver as the current one, not initialised; the one before is deleted.
  GL3GADriver* RemakeDriver();
  GL3GADriver* Driver() const { return m_driver.get(); }

 private:
  const Lines m_alive = Alive();
  std::unique_ptr<GL3GADriver> m_driver;
};
