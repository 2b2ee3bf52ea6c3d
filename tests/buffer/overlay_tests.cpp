// What a buffer draws over a scene: filled rectangles, see-through pictures, text; and blits, which
// draw nothing.
#include <fmt/format.h>

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
      const bool isScreen = call.find("({0.025, 0, 0, 0, 0, -0.0416667,") != std::string::npos;
      steps.push_back(!load ? call : isScreen ? "screen" : "scene");
    }
    return steps;
  }
  /// The same without what switches the depth test.
  static Lines WithoutDepth(Lines steps) {
    std::erase_if(steps, [](const auto& call) { return call.ends_with("GL_DEPTH_TEST)"); });
    return steps;
  }
  /// The vertices that `draw` draws, in the order of the indices; empty when nothing is drawn.
  template <class Draw>
  static std::string Vertices(Draw draw) {
    GlRecorder gl(GlRecorder::kVertices);
    EXPECT_EQ(draw(), 1);
    if (gl.Calls().empty()) return "";
    const std::string call = gl.CallsTo("glDrawElements").at(0);
    return call.substr(call.find('{'));
  }
  std::string Filled(int x, int y, int width, int height, float z = -9) {
    return Vertices([&] { return Buffer().AfxFillRect(x, y, width, height, z, m_color); });
  }
  std::string Blitted(GL3GATexture* texture, const CRect& rect, float z, const Vector2& extent) {
    return Vertices([&] { return Buffer().TransparentBlit(texture, rect, z, extent, 1); });
  }
  /// What a filled rectangle between these edges draws.
  static std::string Corners(int left, int right, int top, int bottom, const char* z = "-9") {
    const auto at = [z](int x, int y) { return fmt::format("({} {} {})", x, y, z); };
    return fmt::format("{{{0}, {1}, {3}, {0}, {2}, {3}}})", at(left, bottom), at(left, top),
                       at(right, bottom), at(right, top));
  }

  GAColor m_color = Rgb(51, 102, 204, 128);
};

TEST_F(OverlayTest, FilledRectanglesLieOnTopInScreenProjection) {
  GlRecorder gl(GlRecorder::kIndices);
  EXPECT_EQ(Buffer().AfxFillRect(10, 12, 5, 4, -9, m_color), 1);
  const Lines withDepth = Steps(gl);
  EXPECT_EQ(withDepth, CallsIn(R"(
      screen; glDisable(GL_POLYGON_OFFSET_FILL); glDisable(GL_DEPTH_TEST);
      glColor4fv({0.2, 0.4, 0.8, 0.501961}); glEnableClientState(GL_VERTEX_ARRAY);
      glVertexPointer(3, GL_FLOAT, 12, +0);
      glDrawElements(GL_TRIANGLES, 6, GL_UNSIGNED_SHORT, {0, 1, 3, 0, 2, 3});
      glDisableClientState(GL_VERTEX_ARRAY); glEnable(GL_DEPTH_TEST);
      glEnable(GL_POLYGON_OFFSET_FILL); scene)"));
  List().SetDepthFunc(0);
  gl.Clear();
  Buffer().AfxFillRect(10, 12, 5, 4, -9, m_color);
  EXPECT_EQ(Steps(gl), WithoutDepth(withDepth));
}

TEST_F(OverlayTest, FilledRectanglesEndAtThePicturesEdges) {
  Info().pixelLeft = 10, Info().pixelRight = 70, Info().pixelTop = 4, Info().pixelBottom = 40;
  constexpr int kMost = std::numeric_limits<int>::max();
  const struct {
    int x, y, width, height;
    int left, right, top, bottom;  // all 0: nothing is even tried
  } cases[] = {{20, 12, 5, 4, 20, 25, 12, 16}, {60, 35, 20, 30, 60, 70, 35, 40},
               {5, 1, 15, 6, 10, 20, 4, 7},    {70, 12, 5, 4, 70, 70, 12, 16},
               {71, 12, 5, 4, 0, 0, 0, 0},     {20, 40, 5, 4, 20, 25, 40, 40},
               {20, 41, 5, 4, 0, 0, 0, 0},     {5, 12, 5, 4, 0, 0, 0, 0},
               {5, 12, 6, 4, 10, 11, 12, 16},  {20, -1, 5, 5, 0, 0, 0, 0},
               {20, -1, 5, 6, 20, 25, 4, 5},   {11, 5, kMost, kMost, 11, 70, 5, 40}};
  for (const auto& c : cases) {
    EXPECT_EQ(Filled(c.x, c.y, c.width, c.height),
              c.right == 0 ? "" : Corners(c.left, c.right, c.top, c.bottom))
        << c.x << " " << c.y;
  }
  // On a clipping plane they would be lost.
  EXPECT_EQ(Filled(20, 12, 5, 4, -1), Corners(20, 25, 12, 16, "-1.005"));
  EXPECT_EQ(Filled(20, 12, 5, 4, -1000), Corners(20, 25, 12, 16, "-999.995"));
}

TEST_F(OverlayTest, BlitsAreTestedAgainstTheSceneAndLeaveStateAsItWas) {
  const auto texture = SolidTexture({255, 0, 0, 255});
  List().SetDepthFunc(0);
  GlRecorder gl(GlRecorder::kIndices);
  const CRect rect(8, 16, 24, 32);
  EXPECT_EQ(Buffer().TransparentBlit(texture.get(), rect, -9, {1, 1}, 0.5f), 1);
  const Lines withoutDepth = CallsIn("glEnable(GL_TEXTURE_2D); " + Bind(*texture) + R"(;
      glEnable(GL_DEPTH_TEST); glDisable(GL_POLYGON_OFFSET_FILL); glColor4f(1, 1, 1, 0.5);
      glEnableClientState(GL_VERTEX_ARRAY); glEnableClientState(GL_TEXTURE_COORD_ARRAY);
      glVertexPointer(3, GL_FLOAT, 12, +0); glTexCoordPointer(2, GL_FLOAT, 8, apart);
      glDrawElements(GL_TRIANGLES, 6, GL_UNSIGNED_INT, {0, 1, 2, 2, 3, 0});
      glDisableClientState(GL_VERTEX_ARRAY); glDisableClientState(GL_TEXTURE_COORD_ARRAY);
      glDisable(GL_TEXTURE_2D); glEnable(GL_POLYGON_OFFSET_FILL); glDisable(GL_DEPTH_TEST))");
  EXPECT_EQ(Steps(gl), withoutDepth);
  List().SetDepthFunc(1);
  gl.Clear();
  Buffer().TransparentBlit(texture.get(), rect, -20, {1, 1}, 0.5f);
  EXPECT_EQ(Steps(gl), WithoutDepth(withoutDepth));
}

TEST_F(OverlayTest, BlitsWithoutPictureOrOutsideOfTheViewDrawNothing) {
  const auto texture = SolidTexture({255, 0, 0, 255});
  GL3GATexture nameless;
  const CRect rect(20, 12, 30, 22);
  EXPECT_EQ(Blitted(nullptr, rect, -9, {1, 1}) + Blitted(&nameless, rect, -9, {1, 1}), "");
  Info().pixelLeft = 10, Info().pixelRight = 70, Info().pixelTop = 4, Info().pixelBottom = 40;
  for (const CRect& outside :
       {CRect(71, 12, 79, 22), CRect(1, 12, 9, 22), CRect(20, 41, 30, 47), CRect(20, 0, 30, 3)}) {
    EXPECT_EQ(Blitted(texture.get(), outside, -9, {1, 1}), "");
  }
  for (const CRect& touching :
       {CRect(70, 12, 79, 22), CRect(1, 12, 10, 22), CRect(20, 40, 30, 47), CRect(20, 0, 30, 4)}) {
    EXPECT_NE(Blitted(texture.get(), touching, -9, {1, 1}), "");
  }
}

/// With offsets (3, -5) a pixel (x, y) lies at ((x - 45) / 1.25 - 3, (21 - y) / 0.75 + 5). Nearer
/// to the eye than 0.99 a perspective view has no mapping: the pixels are taken for view units.
TEST_F(OverlayTest, CornersAreMappedFromPixelsToTheView) {
  const auto texture = SolidTexture({255, 0, 0, 255});
  Info().offsetX = 3, Info().offsetY = -5;
  const auto corners = [&](float z) {
    return Blitted(texture.get(), CRect(24, 33, 8, 15), z, {0.75f, 0.5f});  // turned around
  };
  const auto wanted = [](const char* left, const char* right, const char* top, const char* bottom,
                         const char* z) {
    return fmt::format(
        "{{({0} {3} {4} | 0 0.5), ({0} {2} {4} | 0 0), ({1} {2} {4} | 0.75 0), "
        "({1} {2} {4} | 0.75 0), ({1} {3} {4} | 0.75 0.5), ({0} {3} {4} | 0 0.5)}})",
        left, right, top, bottom, z);
  };
  EXPECT_EQ(corners(-9), wanted("-32.6", "-19.8", "13", "-11", "-9"));
  EXPECT_EQ(corners(-0.5f), wanted("-32.6", "-19.8", "13", "-11", "-0.5"));
  EXPECT_EQ(corners(-1), wanted("-32.6", "-19.8", "13", "-11", "-1.005"));
  EXPECT_EQ(corners(-1000), wanted("-32.6", "-19.8", "13", "-11", "-999.995"));
  Info().perspective = -4;
  EXPECT_EQ(corners(-9), wanted("-73.35", "-44.55", "29.25", "-24.75", "-9"));
  EXPECT_EQ(corners(-1), wanted("-8.19075", "-4.97475", "3.26625", "-2.76375", "-1.005"));
  EXPECT_EQ(corners(-0.99f), wanted("-8.0685", "-4.9005", "3.2175", "-2.7225", "-0.99"));
  EXPECT_EQ(corners(-0.98f), wanted("8", "24", "15", "33", "-0.98"));
}

TEST_F(OverlayTest, TextIsWrittenInScreenProjectionWithoutDepthTest) {
  Info().nearZ = -2, Info().farZ = -12.5f;
  GlRecorder gl;
  EXPECT_EQ(Buffer().TextOutA(10, 20, "a text", m_color, 0), 1);
  const Lines withDepth = Steps(gl);
  EXPECT_EQ(withDepth, CallsIn(R"(
      screen; glColor4fv({0.2, 0.4, 0.8, 0.501961}); glRasterPos3f(11, 31, -7.25);
      glDisable(GL_DEPTH_TEST); glPushAttrib(GL_LIST_BIT); glListBase(10000);
      glCallLists(6, GL_UNSIGNED_BYTE, a text); glPopAttrib(); glEnable(GL_DEPTH_TEST); scene)"));
  List().SetDepthFunc(0);
  gl.Clear();
  Buffer().TextOutA(10, 20, "a text", m_color, 0);
  EXPECT_EQ(Steps(gl), WithoutDepth(withDepth));
  gl.Clear();
  EXPECT_EQ(Buffer().TextOutA(10, 20, nullptr, m_color, 0), 1);
  EXPECT_EQ(gl.Calls(), Lines());
}

TEST_F(OverlayTest, BlitsOfHostMemoryCopyWhatFits) {
  constexpr std::size_t kSize = 80 * 48 * 4;
  std::vector<unsigned char> bytes(sizeof(BITMAPINFOHEADER) + kSize + 50, 0x11);
  tagBITMAPINFO& info = *reinterpret_cast<tagBITMAPINFO*>(bytes.data());
  info.bmiHeader = {};
  Faults faults;
  std::size_t size = 0;
  GlRecorder gl;
  EXPECT_EQ(Buffer().Blit(nullptr), 0);
  for (std::int32_t* side : {&Info().imageWidth, &Info().imageHeight}) {
    const std::int32_t before = std::exchange(*side, 0);
    EXPECT_EQ(Buffer().Blit(&info), 0) << "no picture";
    *side = before;
  }
  EXPECT_EQ(faults.Calls(FaultPoint::kAllocExt), 0);
  info.bmiHeader.biSizeImage = kSize + 50;  // more than the picture has
  EXPECT_EQ(Buffer().Blit(&info), 1);
  const unsigned char* copy = faults.LastExt(&size);
  ASSERT_EQ(size, kSize);
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

  Buffer().Destroy();
  faults.Fail(FaultPoint::kAllocExt);
  EXPECT_EQ(Buffer().Blit(&info), 0);
}

}  // namespace
