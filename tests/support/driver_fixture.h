// A driver, initialised and current, and off-screen drawing on it.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <memory>

#include "host/Bitmap.h"
#include "host/DisplayList.h"
#include "host/GABuffer.h"
#include "host/GADriver.h"
#include "host/RenderInfo.h"
#include "hostkit/services/bitmap_ptr.h"
#include "hostkit/services/host_heaps.h"
#include "platform/platform.h"

/// An off-screen buffer with a display list that draws into it. The view is parallel, its units are
/// pixels with the origin in the middle of the picture and y up until SetView; z from -1 (near) to
/// -1000 is visible, and objects lie in view space as they are.
struct OffscreenTarget {
  OffscreenTarget(GADriver* driver, int width, int height);
  OffscreenTarget(const OffscreenTarget&) = delete;
  OffscreenTarget& operator=(const OffscreenTarget&) = delete;

  /// Another parallel view: so many pixels a view unit, around the view's origin, which lies so
  /// many pixels from the left and the top.
  void SetView(float scaleX, float scaleY, float originX, float originY);

  /// Clears to a colour, 0 to 255 a channel, and loads the scene projection.
  void Begin(int red = 0, int green = 0, int blue = 0);
  /// Draws what waits in the display list, then the transparent polygons.
  void End();

  /// Red, green, blue, alpha at a pixel, the origin at the top left.
  std::array<int, 4> Pixel(int x, int y);
  /// Window depth there, 0 near to 1 far.
  float Depth(int x, int y);
  /// Pixels that are not of the given colour.
  int CountOther(std::array<int, 3> color);

  RenderInfo info;
  SceneRecord scene;
  std::unique_ptr<GABuffer> buffer;  ///< Null when the driver could not make one.
  std::unique_ptr<DisplayList> list;
  bool ready = false;  ///< Whether the buffer has a surface.
};

using TestBitmap = hostkit::BitmapPtr;

/// A bitmap with a "Color" buffer, one colour throughout.
TestBitmap SolidBitmap(int width, int height, std::array<int, 4> rgba);

/// Makes a driver for each test, makes it the host's and initialises it. A test that draws names
/// this as its fixture; one that looks at initialisation itself derives and overrides SetUp. A test
/// fails that leaves blocks on the host's heaps or objects of the platform layer behind.
class DriverFixture : public testing::Test {
 protected:
  ~DriverFixture() override;
  void SetUp() override;
  void TearDown() override;

  /// A new driver as the current one, not initialised; the one before is deleted.
  GADriver* RemakeDriver();
  GADriver* Driver() const { return m_driver.get(); }
  GAColor Color(int red, int green, int blue, int alpha = 255) const;

 private:
  hostkit::HeapCounts m_heaps = hostkit::CountHeaps();
  platform::HandleCounts m_handles = platform::CountHandles();
  std::unique_ptr<GADriver> m_driver;
};
