// What a buffer draws over a scene: filled rectangles, see-through pictures, text; and blits, which
// draw nothing.
#include <cstring>
#include <limits>

#include "tests/support/drawing_fixture.h"
#include "tests/support/faults.h"
#include "tests/support/gl_recorder.h"

namespace {

class OverlayTest : public DrawingFixture {
 protected:
  /// The log, with a projection that is loaded as "screen" or "scene".
  static Lines Steps(const GlRecorder& gl) {
    Lines steps;
    for (const std::string& call : gl.Calls()) {
      if (call == "glLoadIdentity()" || call.starts_with("glViewport")) continue;
      const bool load = call.starts_with("glLoadMatrixf");
      const bool upsideDown = call.find("0, 0, 0, 0, -0.03125") != std::string::npos;
      steps.push_back(!load ? call : upsideDown ? "screen" : "scene");
    }
    return steps;
  }
  int CountDrawn() { return Target().CountOther({0, 0, 0}); }
  /// A view of the same pixels through a frustum from `nearZ` on.
  void UsePerspective(float nearZ) {
    Info().nearZ = Info().perspective = nearZ;
    Buffer().ComputeProjectionMatrices();
    Target().Begin();
  }
  /// Red above, green below.
  static std::unique_ptr<GL3GATexture> Picture() {
    const TestBitmap bitmap = SolidBitmap(4, 4, {255, 0, 0, 255});
    for (int y = 2; y < 4; ++y) {
      auto* row = static_cast<HRGBABuffer*>(bitmap->GetBufferHead())->GetData(y);
      for (int x = 0; x < 4; ++x) std::memcpy(static_cast<char*>(row) + 4 * x, "\0\xFF\0\xFF", 4);
    }
    auto texture = std::make_unique<GL3GATexture>();
    texture->MakeGATexture(bitmap.get(), 0, 0, 0);
    return texture;
  }

  GAColor m_red = Rgb(255, 0, 0);
};

TEST_F(OverlayTest, FilledRectanglesLieOnTopInScreenProjection) {
  GlRecorder gl;
  gl.LogIndices(true);
  EXPECT_EQ(Buffer().AfxFillRect(10, 12, 5, 4, -9, m_red), 1);
  const Lines withDepth = Steps(gl);
  EXPECT_EQ(withDepth, CallsIn(R"(
      screen; glDisable(GL_POLYGON_OFFSET_FILL); glDisable(GL_DEPTH_TEST);
      glColor4fv({1, 0, 0, 1}); glEnableClientState(GL_VERTEX_ARRAY);
      glVertexPointer(3, GL_FLOAT, 12, +0);
      glDrawElements(GL_TRIANGLES, 6, GL_UNSIGNED_SHORT, {0, 1, 3, 0, 2, 3});
      glDisableClientState(GL_VERTEX_ARRAY); glEnable(GL_DEPTH_TEST);
      glEnable(GL_POLYGON_OFFSET_FILL); scene)"));
  List().SetDepthFunc(0);
  gl.Clear();
  Buffer().AfxFillRect(10, 12, 5, 4, -9, m_red);
  Lines withoutDepth = withDepth;
  std::erase_if(withoutDepth, [](const auto& call) { return call.ends_with("GL_DEPTH_TEST)"); });
  EXPECT_EQ(Steps(gl), withoutDepth);
}

TEST_F(OverlayTest, FilledRectanglesEndAtThePicturesEdges) {
  const int most = std::numeric_limits<int>::max();
  const struct {
    int x, y, width, height;
    int pixels;  // -1: nothing is even tried
  } cases[] = {{10, 12, 5, 4, 20}, {60, 61, 10, 10, 12}, {-5, -6, 10, 10, 20},
               {64, 0, 5, 5, 0},   {65, 0, 5, 5, -1},    {0, 64, 5, 5, 0},
               {0, 65, 5, 5, -1},  {-5, 0, 5, 5, -1},    {-5, 0, 6, 5, 5},
               {0, -5, 5, 5, -1},  {0, -5, 5, 6, 5},     {1, 1, most, most, 3969}};
  for (const auto& c : cases) {
    Target().Begin();
    GlRecorder gl;
    Buffer().AfxFillRect(c.x, c.y, c.width, c.height, -9, m_red);
    EXPECT_EQ(gl.Calls().empty(), c.pixels < 0) << c.x << " " << c.y;
    EXPECT_EQ(CountDrawn(), std::max(c.pixels, 0)) << c.x << " " << c.y;
  }
  Target().Begin();
  Buffer().AfxFillRect(10, 12, 5, 4, -9, m_red);
  for (const int x : {10, 14}) EXPECT_EQ(Target().Pixel(x, 12)[0], 255);
  EXPECT_EQ(Target().Pixel(10, 15)[0], 255) << "y counts downwards";
}

TEST_F(OverlayTest, OverlaysOnAClippingPlaneAreNotLost) {
  const auto texture = Picture();
  // Some of these planes are rounded to their far side on the way to the rasteriser.
  for (int i = 0; i < 40; ++i) {
    Info().nearZ = -1 - 0.137f * static_cast<float>(i);
    Info().farZ = -300.1f - 7.31f * static_cast<float>(i);
    Buffer().ComputeProjectionMatrices();
    for (const float z : {Info().nearZ, Info().farZ}) {
      Target().Begin();
      Buffer().AfxFillRect(0, 0, 64, 32, z, m_red);
      Buffer().TransparentBlit(texture.get(), CRect(0, 32, 64, 64), z, {1, 1}, 1);
      EXPECT_EQ(CountDrawn(), 64 * 64) << z;
      const float range = Info().nearZ - Info().farZ;
      const float wanted = z == Info().nearZ ? 0.005f / range : 1 - 0.005f / range;
      EXPECT_NEAR(Target().Depth(5, 40), wanted, 1e-6) << z;
    }
  }
}

TEST_F(OverlayTest, BlitsAreTestedAgainstTheSceneAndLeaveStateAsItWas) {
  const auto texture = Picture();
  List().SetDepthFunc(0);
  GlRecorder gl;
  gl.LogIndices(true);
  const CRect rect(8, 16, 24, 32);
  EXPECT_EQ(Buffer().TransparentBlit(texture.get(), rect, -9, {1, 1}, 0.5f), 1);
  const std::string bind =
      "glBindTexture(GL_TEXTURE_2D, " + std::to_string(texture->m_texture) + "); ";
  const Lines withoutDepth = CallsIn("glEnable(GL_TEXTURE_2D); " + bind + R"(
      glEnable(GL_DEPTH_TEST); glDisable(GL_POLYGON_OFFSET_FILL); glColor4f(1, 1, 1, 0.5);
      glEnableClientState(GL_VERTEX_ARRAY); glEnableClientState(GL_TEXTURE_COORD_ARRAY);
      glVertexPointer(3, GL_FLOAT, 12, +0); glTexCoordPointer(2, GL_FLOAT, 8, apart);
      glDrawElements(GL_TRIANGLES, 6, GL_UNSIGNED_INT, {0, 1, 2, 2, 3, 0});
      glDisableClientState(GL_VERTEX_ARRAY); glDisableClientState(GL_TEXTURE_COORD_ARRAY);
      glDisable(GL_TEXTURE_2D); glEnable(GL_POLYGON_OFFSET_FILL); glDisable(GL_DEPTH_TEST))");
  EXPECT_EQ(Steps(gl), withoutDepth);
  List().SetDepthFunc(1);
  gl.Clear();
  Buffer().TransparentBlit(texture.get(), rect, -20, {1, 1}, 1);  // behind the first
  Lines withDepth = Steps(gl);
  EXPECT_EQ(withDepth.size(), withoutDepth.size() - 2);
  EXPECT_TRUE(Near(ColorAt(-20, 12), {128, 0, 0}));

  gl.Clear();
  GL3GATexture nameless;
  for (GL3GATexture* none : {static_cast<GL3GATexture*>(nullptr), &nameless}) {
    EXPECT_EQ(Buffer().TransparentBlit(none, rect, -9, {1, 1}, 1), 1);
  }
  for (const CRect& outside :
       {CRect(65, 0, 80, 9), CRect(-9, 0, -1, 9), CRect(0, 65, 9, 80), CRect(0, -9, 9, -1)}) {
    EXPECT_EQ(Buffer().TransparentBlit(texture.get(), outside, -9, {1, 1}, 1), 1);
  }
  EXPECT_EQ(gl.Calls(), Lines());
  Buffer().TransparentBlit(texture.get(), CRect(64, 0, 80, 9), -9, {1, 1}, 1);  // touches
  EXPECT_EQ(gl.Count("glDrawElements"), 1);
}

TEST_F(OverlayTest, BlitsCoverTheirPixelsUnderBothProjections) {
  const auto texture = Picture();
  const auto expectPicture = [&](float z) {
    Buffer().TransparentBlit(texture.get(), CRect(24, 32, 8, 16), z, {1, 1}, 0.5f);
    EXPECT_EQ(CountDrawn(), 16 * 16) << z;
    for (const int x : {8, 23}) {
      EXPECT_TRUE(Near(ColorAt(x - 32, 12), {128, 0, 0})) << z;
      EXPECT_TRUE(Near(ColorAt(x - 32, 3), {0, 128, 0})) << z;
    }
    Target().Begin();
  };
  expectPicture(-1);
  expectPicture(-500);
  Info().scaleX = Info().scaleY = 2;  // zoomed in and moved: fewer view units are seen
  Info().offsetX = 3, Info().offsetY = -5;
  Info().viewLeft = -16 - 3, Info().viewRight = 16 - 3;
  Info().viewTop = 16 + 5, Info().viewBottom = -16 + 5;
  Buffer().ComputeProjectionMatrices();
  Target().Begin();
  expectPicture(-9);
  for (const float nearZ : {-1.0f, -2.0f}) {
    UsePerspective(nearZ);
    for (const float z : {nearZ, -9.0f, -900.0f}) expectPicture(z);
  }
}

/// Nearer to the eye than 0.99 there is no mapping: the pixels are taken for view units, in which y
/// rises.
TEST_F(OverlayTest, BlitsCloseToTheEyeArePlacedInViewUnits) {
  const auto texture = Picture();
  UsePerspective(-0.5f);
  Buffer().TransparentBlit(texture.get(), CRect(0, 16, 32, 32), -0.75f, {1, 1}, 1);
  // Seen from -0.75, the frustum's window of 64 at -0.5 is 96 wide.
  EXPECT_TRUE(Near(ColorAt(10, 12), {255, 0, 0})) << "16 / 1.5 above the middle, the picture's top";
  EXPECT_TRUE(Near(ColorAt(10, 19), {0, 255, 0}));
  EXPECT_TRUE(Near(ColorAt(10, 9), {0, 0, 0}));
  EXPECT_TRUE(Near(ColorAt(22, 12), {0, 0, 0}));
  for (const auto& [z, isMapped] : {std::pair{-0.99f, true}, {-0.98f, false}}) {
    Target().Begin();
    Buffer().TransparentBlit(texture.get(), CRect(0, 16, 32, 32), z, {1, 1}, 1);
    EXPECT_EQ(CountDrawn() == 32 * 16, isMapped) << z;
    EXPECT_TRUE(Near(ColorAt(-20, 12), {isMapped ? 255 : 0, 0, 0})) << z;
    EXPECT_TRUE(Near(ColorAt(5, 10), {isMapped ? 0 : 255, 0, 0})) << z;
  }
}

TEST_F(OverlayTest, TextIsWrittenInScreenProjectionWithoutDepthTest) {
  GlRecorder gl;
  EXPECT_EQ(Buffer().TextOutA(10, 20, "text", m_red, 0), 1);
  const Lines withDepth = Steps(gl);
  EXPECT_EQ(withDepth, CallsIn(R"(
      screen; glColor4fv({1, 0, 0, 1}); glRasterPos3f(11, 31, -500.5); glDisable(GL_DEPTH_TEST);
      glPushAttrib(GL_LIST_BIT); glListBase(10000); glCallLists(4, GL_UNSIGNED_BYTE, pointer);
      glPopAttrib(); glEnable(GL_DEPTH_TEST); scene)"));
  List().SetDepthFunc(0);
  gl.Clear();
  Buffer().TextOutA(10, 20, "text", m_red, 0);
  EXPECT_EQ(Steps(gl).size(), withDepth.size() - 2);
}

TEST_F(OverlayTest, BlitsOfHostMemoryCopyWhatFits) {
  std::vector<unsigned char> bytes(sizeof(BITMAPINFOHEADER) + 64 * 64 * 4 + 50, 0x11);
  tagBITMAPINFO& info = *reinterpret_cast<tagBITMAPINFO*>(bytes.data());
  info.bmiHeader = {};
  Faults faults;
  std::size_t size = 0;
  GlRecorder gl;
  info.bmiHeader.biSizeImage = 64 * 64 * 4 + 50;  // more than the picture has
  EXPECT_EQ(Buffer().Blit(&info), 1);
  const unsigned char* copy = faults.LastExt(&size);
  ASSERT_EQ(size, 64u * 64 * 4);
  EXPECT_EQ(copy[0], 0x11);
  EXPECT_EQ(copy[size - 1], 0x11);
  for (std::size_t i = 0; i < Faults::kGuardBytes; ++i) ASSERT_EQ(copy[size + i], Faults::kGuard);

  bytes[sizeof(BITMAPINFOHEADER)] = bytes[sizeof(BITMAPINFOHEADER) + 1] = 0x22;
  info.bmiHeader.biSizeImage = 1;
  EXPECT_EQ(Buffer().Blit(&info), 1);
  EXPECT_EQ(copy[0], 0x22);
  EXPECT_EQ(copy[1], 0x11);
  EXPECT_EQ(faults.Calls(FaultPoint::kAllocExt), 1) << "kept for the next";
  EXPECT_EQ(gl.Calls(), Lines());
}

}  // namespace
