// Pictures and text over frames.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>

#include "host/GABuffer.h"
#include "host/GADriver.h"
#include "hostkit/frame/frame_painter.h"
#include "hostkit/frame/off_screen_surface.h"
#include "hostkit/pictures/picture_in.h"
#include "hostkit/services/registry.h"
#include "tests/hostkit/frame/frame_fixture.h"
#include "tests/support/common/heap_faults.h"

namespace {

// Columns of red and green, one pixel each, on a clear half: nothing survives a blur.
hostkit::BitmapPtr Stripes(int width, int height) {
  std::vector<std::uint8_t> rgba;
  for (int i = 0; i < width * height; ++i) {
    const bool isOdd = i % width % 2;
    const std::uint8_t alpha = i / width < height / 2 ? 0 : 255;
    rgba.insert(rgba.end(), {static_cast<std::uint8_t>(isOdd ? 0 : 255),
                             static_cast<std::uint8_t>(isOdd ? 255 : 0), 0, alpha});
  }
  return hostkit::BitmapFromRgba(rgba.data(), width, height);
}

hostkit::Scene BackWall() {  // at the front plane, whatever overlays it
  return SceneOf({Material(0, 0, 1)}, Square(0), At(0, 0, 8.9f));
}

hostkit::View Perspective() {
  return EyeView(10, 1, 20);
}

}  // namespace

TEST_F(Frames, OverlaysStandPixelForPixel) {
  m_settings.overlays = {{Stripes(30, 20), 50, 5, 1}, {Stripes(8, 8), -3, 70, 0.5f}};
  for (const hostkit::View& view : {FrontView(), Perspective()}) {
    for (int samples : {1, 3}) {
      for (int side : {8192, 64}) {  // with seams through them
        for (bool clear : {false, true}) {
          m_settings.samplesPerSide = samples;
          m_settings.transparentBackground = clear;
          g_maxSurface = side;
          auto picture = Render(BackWall(), view);
          for (int x = 50; x < 80; ++x) {
            const Pixel pixel = At(picture, x, 15 + x % 10);
            EXPECT_EQ(pixel.red, x % 2 == 0) << x << ", " << side << ", " << samples;
            EXPECT_EQ(pixel.green, x % 2 == 1);
            EXPECT_EQ(pixel.blue, 0);
            EXPECT_TRUE(!clear || pixel.alpha == 1);
          }
          EXPECT_EQ(At(picture, 60, 14).red, 0);  // the clear half
          EXPECT_NEAR(At(picture, 1, 75).red, 0.5f, 0.01f);
          EXPECT_NEAR(At(picture, 4, 77).green, 0.5f, 0.01f);
          EXPECT_EQ(At(picture, 5, 77).red, 0);  // beyond its right edge
        }
      }
    }
  }
}

TEST_F(Frames, OverlaysStandPixelForPixelInTexturesOfPowersOfTwo) {
  // The odd value counts by its lowest bit. The last one is how the driver is by itself.
  for (const int setting : {1, 2, 0}) {
    s_module.reset();  // a driver reads its settings when it is made
    hostkit::OverrideRegistryValue("OpenGL3", "Textures Powerof2", setting);
    SetUpTestSuite();
    m_settings.overlays = {{Stripes(37, 41), 3, 4, 1}, {Stripes(3, 6), 60, 4, 1}};
    auto picture = Render(BackWall());
    for (int x = 0; x < 37; ++x) {
      EXPECT_EQ(At(picture, 3 + x, 23).red, 0) << x;  // the last clear row
      EXPECT_EQ(At(picture, 3 + x, 24).red, x % 2 == 0) << x << ", " << setting;
      EXPECT_EQ(At(picture, 3 + x, 44).green, x % 2 == 1) << x << ", " << setting;
    }
    for (int x = 0; x < 3; ++x) EXPECT_EQ(At(picture, 60 + x, 9).red, x % 2 == 0) << setting;
  }
}

TEST_F(Frames, TextStandsWholeAtItsPlace) {
  hostkit::Scene scene = SceneOf({Material(0, 0, 0)}, Square(0), At(0, 0, 8));
  m_settings.texts = {{"HHHH", 20, 30, {255, 0, 0, 255}},
                      {"HHHHHHHH", 60, 72, {255, 0, 0, 255}},  // over the right edge
                      {"HHH", -8, -4, {255, 0, 0, 255}}};      // and the upper left
  const auto isInk = [](const Pixel& pixel) { return pixel.red > 0.5f; };
  auto plain = Render(scene);
  int ink[3] = {0, 0, 0};
  for (int i = 0; i < 6400; ++i) {
    const int x = i % 80, y = i / 80;
    if (!isInk(At(plain, x, y))) continue;
    const bool inFirst = x >= 21 && x < 56 && y >= 30 && y < 42;
    const bool inSecond = x >= 61 && y >= 72, inThird = x < 20 && y < 8;
    EXPECT_TRUE(inFirst || inSecond || inThird) << x << ", " << y;
    ink[inFirst ? 0 : inSecond ? 1 : 2]++;
  }
  EXPECT_GE(ink[0], 60);
  EXPECT_GE(ink[1], 20);
  EXPECT_GE(ink[2], 10);
  for (int samples : {2, 4}) {
    m_settings.samplesPerSide = samples;
    m_settings.fog.on = true;
    m_settings.fog.farDistance = 2;
    g_maxSurface = 100;
    auto other = Render(scene);
    for (int i = 0; i < 6400; ++i) {
      ASSERT_EQ(isInk(At(other, i % 80, i / 80)), isInk(At(plain, i % 80, i / 80)))
          << i % 80 << ", " << i / 80;
    }
  }
}

// As a viewer does it: over the frame, on its own surface.
TEST_F(Frames, OverlaysAreTheSameOnASurface) {
  const hostkit::Scene scene = BackWall();
  m_settings.overlays = {{Stripes(30, 20), 40, 5, 0.8f}};
  m_settings.texts = {{"Text", 5, 60, {255, 255, 0, 255}}};
  m_settings.fog.on = true;
  auto finished = Render(scene, Perspective());
  std::string error;
  const auto painter = hostkit::FramePainter::Create(s_module->Driver(), scene, &error);
  hostkit::OffScreenSurface surface(s_module->Driver());
  ASSERT_TRUE(painter && surface.Ensure(80, 80, &error)) << error;
  for (int frame = 0; frame < 2; ++frame) {
    painter->Begin(m_settings, Perspective());
    painter->Paint(surface.Target(), {0, 0, 80, 80}, m_settings.background);
    painter->PaintOverlays(surface.Target());
    const hostkit::Picture picture{surface.Read(80, 80), false};
    EXPECT_EQ(Different(picture, finished, 0.01f), 0);
  }
}

// Whatever memory runs out for, there is a whole frame or an error.
TEST_F(Frames, PicturesForWhichMemoryRunsOutAreNotLeftOut) {
  hostkit::Scene scene = SceneOf({Material(1, 1, 1)}, Square(0), At(0, 0, 8));
  PutPicture(scene, Stripes(8, 8));
  m_settings.overlays = {{Stripes(80, 20), 0, 0, 1}};
  m_settings.depth = true;
  const hostkit::Picture whole = Render(scene);
  int failures = 0;
  for (int left = 0;; ++left) {
    const HeapFault fault(left, true);
    std::string error;
    const auto renderer = hostkit::FrameRenderer::Create(s_module->Driver(), scene, &error);
    hostkit::Picture picture;
    if (renderer) picture = renderer->Render(m_settings, FrontView(), &error);
    failures += picture.bitmap == nullptr;
    EXPECT_EQ(picture.bitmap == nullptr, error.find("memory ran out") != std::string::npos)
        << error;
    EXPECT_TRUE(!picture.bitmap || Different(picture, whole, 0) == 0) << left;
    if (HeapFault::left >= 0) break;  // all were given
  }
  EXPECT_GE(failures, 5);
}
