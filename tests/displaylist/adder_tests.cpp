// Lit triangles and quads, polylines, fans, indexed lists and rectangles.
#include <cmath>

#include "tests/support/drawing_fixture.h"
#include "tests/support/faults.h"
#include "tests/support/gl_recorder.h"
#include "tests/support/transparent_queue.h"

namespace {

class AdderTest : public DrawingFixture {
 protected:
  static Lines Draws(const GlRecorder& gl) { return gl.CallsTo("glDrawElements"); }
  void MakeTransparent() { List().SetMaterial(&m_clear, 0); }
  /// x and y of a queued triangle's corners.
  std::vector<float> Corners(int record) {
    const TransparentRecord& r = TransparentQueue::Records(Buffer())[record];
    return {r.a.x, r.a.y, r.b.x, r.b.y, r.c.x, r.c.y};
  }

  AttrProperty m_white = Material(1, 1, 1), m_clear = Material(1, 1, 1, 0.5f);
  GAColor m_red = Rgb(255, 0, 0);
};

TEST_F(AdderTest, TrianglesNeverReadTheThirdElement) {
  GAVertex v[4] = {Facing(-9, -9, -9), Facing(9, -9, -9), Facing(NAN, NAN, NAN), Facing(9, 9, -9)};
  List().SetupLights(nullptr);
  List().SetMaterial(&m_white, 0);
  List().AddTransformedTri(v, 1);
  GlRecorder gl;
  Target().End();
  EXPECT_EQ(Draws(gl), Lines{"glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT)"});
  EXPECT_EQ(gl.Count("glTexCoordPointer"), 1);  // the textured batch, also without a texture
  EXPECT_TRUE(Near(ColorAt(5, -5), {255, 255, 255}));

  MakeTransparent();
  List().AddTransformedTri(v, 0);
  EXPECT_EQ(TransparentQueue::Count(Buffer()), 0);
  List().SetDepthFunc(0);  // without meaning for lit triangles
  List().AddTransformedTri(v, 1);
  ASSERT_EQ(TransparentQueue::Count(Buffer()), 1);
  EXPECT_EQ(Corners(0), (std::vector<float>{-9, -9, 9, -9, 9, 9}));
}

TEST_F(AdderTest, QuadsAreCutAlongOneDiagonalBatchedAndTheOtherQueued) {
  // The lower right corner is pulled beyond the diagonal: only the batched form covers it.
  auto v = Square(0, 0, 20, -9);
  v[1] = Facing(-10, 10, -9);
  List().SetupLights(nullptr);
  List().SetMaterial(&m_white, 0);
  List().AddTransformedQuad(v.data(), 1, 0);  // not transparent: batched
  Target().End();
  EXPECT_TRUE(Near(ColorAt(-3, 3), {255, 255, 255}));

  MakeTransparent();
  List().SetDepthFunc(0);
  List().AddTransformedQuad(v.data(), 1, 0);
  ASSERT_EQ(TransparentQueue::Count(Buffer()), 2);
  EXPECT_EQ(Corners(0), (std::vector<float>{-20, -20, -10, 10, -20, 20}));
  EXPECT_EQ(Corners(1), (std::vector<float>{-10, 10, 20, 20, -20, 20}));
  EXPECT_EQ(TransparentQueue::Records(Buffer())[1].attribute, &m_clear);
}

TEST_F(AdderTest, QuadModesChooseTheBatch) {
  auto v = Square(0, 0, 20, -9);
  MakeTransparent();
  List().SetDefaultColor(m_red);
  GlRecorder gl;
  List().AddTransformedQuad(v.data(), 0, 1);
  List().AddTransformedQuad(v.data(), 2, 0);
  EXPECT_EQ(gl.Calls(), Lines{"glColor4fv({1, 0, 0, 1})"});
  EXPECT_EQ(TransparentQueue::Count(Buffer()), 0);
  gl.Clear();
  List().FlushArrays();
  EXPECT_EQ(Draws(gl).size(), 2u);
  EXPECT_EQ(gl.Count("glTexCoordPointer"), 1);
}

TEST_F(AdderTest, ATransparentQuadDrainsTheFullQueue) {
  auto v = Square(0, 0, 20, -9);
  MakeTransparent();
  GL3GABuffer::m_maxtransparentpolys = 3;
  GlRecorder gl;
  List().AddTransformedQuad(v.data(), 1, 0);
  EXPECT_EQ(Draws(gl), Lines());
  List().AddTransformedQuad(v.data(), 1, 0);
  EXPECT_EQ(Draws(gl), Lines{"glDrawElements(GL_TRIANGLES, 6, GL_UNSIGNED_INT)"});
  EXPECT_EQ(TransparentQueue::Count(Buffer()), 2);
  // A setting that has no room for a quad does not halve it.
  GL3GABuffer::m_maxtransparentpolys = 0;
  List().FlushTransparentPolys();
  List().AddTransformedQuad(v.data(), 1, 0);
  EXPECT_EQ(TransparentQueue::Count(Buffer()), 2);
  // Without memory there is nowhere to put it.
  List().FlushTransparentPolys();
  Faults faults;
  faults.FailAlways(FaultPoint::kAllocOGL);
  List().AddTransformedQuad(v.data(), 1, 0);
  EXPECT_EQ(TransparentQueue::Count(Buffer()), 0);
}

TEST_F(AdderTest, PolylinesGoAroundTheOpenBlock) {
  GAVertex v[2] = {Facing(1, 2, -3, 0.25f, 5), Facing(4, 5, -6, 1, 7)};
  const Lines plain = {"glLineWidth(5)",          "glEnd()",
                       "glBegin(GL_LINE_STRIP)",  "glNormal3fv({0, 0, -1})",
                       "glVertex3fv({1, 2, -3})", "glNormal3fv({0, 0, -1})",
                       "glVertex3fv({4, 5, -6})", "glEnd()",
                       "glBegin(GL_POINTS)",      "glLineWidth(1)"};
  List().PrepForPoints();
  GlRecorder gl;
  List().AddTransformedQuad(v, 0x8002, 1);
  EXPECT_EQ(gl.Calls(), plain);
  gl.Clear();
  Faults faults;
  faults.Fail(FaultPoint::kAllocOGL);
  List().AddTransformedQuad(v, 0xC002, 1);  // no room: drawn plain
  EXPECT_EQ(gl.Calls(), plain);
  List().SetDepthFunc(6);
  gl.Clear();
  List().AddTransformedQuad(v, 0xC002, 0);
  const std::string diffuse = "glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, {0.8, 0.8, 0.8, ";
  EXPECT_EQ(gl.Calls(),
            (Lines{"glGetMaterialfv(GL_FRONT, GL_DIFFUSE, pointer)", "glEnable(GL_LINE_SMOOTH)",
                   "glDisable(GL_DEPTH_TEST)", "glLineWidth(5)", "glBegin(GL_LINE_STRIP)",
                   "glNormal3fv({0, 0, -1})", diffuse + "0.75})", "glVertex3fv({1, 2, -3})",
                   "glNormal3fv({0, 0, -1})", diffuse + "0})", "glVertex3fv({4, 5, -6})", "glEnd()",
                   "glEnable(GL_DEPTH_TEST)", "glDisable(GL_LINE_SMOOTH)", diffuse + "1})",
                   "glLineWidth(1)"}));
  EXPECT_EQ(TransparentQueue::Count(Buffer()), 0);
  // What is on already stays on, and an open block goes on behind the line.
  Buffer().SetState(GL3GABuffer::kSmoothingOn, true);
  List().PrepForPolygons();  // points have been prepared for, and are not again
  List().PrepForPoints();
  gl.Clear();
  List().AddTransformedQuad(v, 0xC002, 0);
  EXPECT_EQ(gl.CallsTo("glEnable"), Lines{"glEnable(GL_DEPTH_TEST)"});
  EXPECT_EQ(gl.CallsTo("glDisable"), Lines{"glDisable(GL_DEPTH_TEST)"});
  EXPECT_EQ(gl.CallsTo("glBegin"), (Lines{"glBegin(GL_LINE_STRIP)", "glBegin(GL_POINTS)"}));
  EXPECT_EQ(gl.Count("glEnd"), 2);
  List().EndInstructions();
  gl.Clear();
  List().AddTransformedQuad(v, 0x8000, 0);
  EXPECT_EQ(gl.Calls(), CallsIn(R"(
      glLineWidth(5); glBegin(GL_LINE_STRIP); glEnd(); glLineWidth(1))"));
}

TEST_F(AdderTest, ColoredQuadsReadTheirRecordsInTheirOwnOrder) {
  auto v = Square(0, 0, 20, -9);
  RGBFloat colors[4];
  for (RGBFloat& color : colors) color.red = 1, color.green = 0.5f, color.blue = 0.25f;
  colors[3].red = 0;
  GlRecorder gl;
  List().AddTransformedQuad(v.data(), colors, 1);
  // Equal colours are sent once.
  EXPECT_EQ(gl.CallsTo("glMaterialfv"),
            (Lines{"glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, {1, 0.5, 0.25, 1})",
                   "glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, {0, 0.5, 0.25, 1})"}));
  EXPECT_EQ(gl.Count("glTexCoord2fv"), 4);
  EXPECT_EQ(gl.CallsTo("glVertex3fv")[2], "glVertex3fv({-20, 20, -9})");
  gl.Clear();
  List().AddTransformedQuad(v.data(), colors, 0);
  EXPECT_EQ(gl.Count("glTexCoord2fv"), 0);

  GALitVertex lit[4] = {{-9, -9, -9, 255, 51, 0, 102}, {9, -9, -9}, {-9, 9, -9}, {9, 9, -9}};
  List().PrepForPoints();
  gl.Clear();
  List().AddTransformedQuad(lit);
  const Lines& calls = gl.Calls();
  ASSERT_EQ(calls.size(), 12u);
  EXPECT_EQ(Lines(calls.begin(), calls.begin() + 4), CallsIn(R"(
      glEnd(); glBegin(GL_TRIANGLE_STRIP); glColor4fv({0, 0.2, 1, 0.4});
      glVertex3fv({-9, -9, -9}))"));
  EXPECT_EQ(calls.back(), "glBegin(GL_POINTS)");
}

TEST_F(AdderTest, LongFansAreDrawnVertexByVertex) {
  GAVertex v[3] = {Facing(-9, -9, -9), Facing(9, -9, -9), Facing(9, 9, -9)};
  std::vector<unsigned short> indices(100);
  for (std::size_t i = 0; i < indices.size(); ++i) indices[i] = static_cast<unsigned short>(i % 3);
  List().PrepForPoints();
  GlRecorder gl;
  List().AddIndexedTriangleFan(v, 3, indices.data(), 99, 1);
  EXPECT_EQ(Draws(gl), Lines{"glDrawElements(GL_TRIANGLE_FAN, 99, GL_UNSIGNED_SHORT)"});
  EXPECT_EQ(gl.Count("glEnd"), 0);
  gl.Clear();
  List().AddIndexedTriangleFan(v, 3, indices.data(), 100, 1);
  EXPECT_EQ(Draws(gl), Lines());
  EXPECT_EQ(gl.CallsTo("glBegin"), (Lines{"glBegin(GL_TRIANGLE_FAN)", "glBegin(GL_POINTS)"}));
  EXPECT_EQ(gl.CallsTo("glVertex3fv")[1], "glVertex3fv({9, -9, -9})");
  EXPECT_EQ(gl.Count("glVertex3fv"), 100);
  EXPECT_FALSE(Buffer().HasState(GL3GABuffer::kArraysPending));
}

TEST_F(AdderTest, TransparentFansAreQueuedAsFarAsThereIsRoom) {
  GAVertex v[6];
  for (int i = 0; i < 6; ++i) v[i] = Facing(static_cast<float>(i), 0, -9);
  unsigned short indices[6] = {5, 0, 1, 2, 3, 4};
  MakeTransparent();
  GlRecorder gl;
  gl.LogIndices(true);
  List().AddIndexedTriangleFan(v, 6, indices, 2, 1);
  EXPECT_EQ(TransparentQueue::Count(Buffer()), 0);
  List().AddIndexedTriangleFan(v, 6, indices, 4, 0);  // drawn, as it is asked for
  EXPECT_EQ(Draws(gl),
            Lines{"glDrawElements(GL_TRIANGLE_FAN, 4, GL_UNSIGNED_SHORT, {5, 0, 1, 2})"});
  EXPECT_EQ(TransparentQueue::Count(Buffer()), 0);
  gl.Clear();
  List().AddIndexedTriangleFan(v, 6, indices, 4, 1);
  ASSERT_EQ(TransparentQueue::Count(Buffer()), 2);
  EXPECT_EQ(Corners(0), (std::vector<float>{5, 0, 0, 0, 1, 0}));
  EXPECT_EQ(Corners(1), (std::vector<float>{5, 0, 1, 0, 2, 0}));
  EXPECT_EQ(gl.Calls(), Lines());

  // A new queue takes any count on trust; what it cannot hold is drawn at once.
  GL3GABuffer::m_maxtransparentpolys = 1;
  List().FlushTransparentPolys();
  gl.Clear();
  List().AddIndexedTriangleFan(v, 6, indices, 6, 1);
  EXPECT_EQ(TransparentQueue::Count(Buffer()), 2);
  EXPECT_EQ(Draws(gl),
            Lines{"glDrawElements(GL_TRIANGLE_FAN, 4, GL_UNSIGNED_SHORT, {5, 2, 3, 4})"});
  gl.Clear();
  List().AddIndexedTriangleFan(v, 6, indices, 3, 1);  // full
  EXPECT_EQ(Draws(gl), Lines{"glDrawElements(GL_TRIANGLE_FAN, 3, GL_UNSIGNED_SHORT, {5, 0, 1})"});
}

TEST_F(AdderTest, IndexedTriangleListsStartFromACleanState) {
  const auto texture = SolidTexture({255, 255, 255, 255});
  GALitVertex lit[3] = {
      {-9, -9, -9, 255, 0, 0, 255}, {9, -9, -9, 255, 0, 0, 255}, {9, 9, -9, 255, 0, 0, 255}};
  GALitVertexWT withTexture[3] = {{-9, -9, -9, 0, 0, 255, 0, 0, 255}};
  unsigned short indices[3] = {0, 1, 2};
  List().SetTexture(texture.get());
  List().SetDepthFunc(4);
  List().PrepForPoints();  // texturing off, and yet the texture is current
  List().SetDepthFunc(4);
  GlRecorder gl;
  const std::string bind =
      "glBindTexture(GL_TEXTURE_2D, " + std::to_string(texture->m_texture) + ")";
  List().AddIndexedLitTriangleList(lit, 3, indices, 3, 0);
  EXPECT_EQ(
      gl.Calls(),
      (Lines{"glEnable(GL_TEXTURE_2D)", bind, "glDisable(GL_LIGHTING)",
             "glEnableClientState(GL_VERTEX_ARRAY)", "glVertexPointer(3, GL_FLOAT, 16, +0)",
             "glEnableClientState(GL_COLOR_ARRAY)",
             "glColorPointer(4, GL_UNSIGNED_BYTE, 16, +12)",
             "glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_SHORT)",
             "glDisableClientState(GL_VERTEX_ARRAY)", "glDisableClientState(GL_COLOR_ARRAY)"}));
  EXPECT_TRUE(Near(ColorAt(5, -5), {255, 0, 0}));

  List().SetTexture(nullptr);
  gl.Clear();
  List().AddIndexedLitTriangleListWT(withTexture, 3, indices, 3, 0);
  EXPECT_EQ(gl.Calls(), CallsIn(R"(
      glEnableClientState(GL_VERTEX_ARRAY); glVertexPointer(3, GL_FLOAT, 24, +0);
      glEnableClientState(GL_TEXTURE_COORD_ARRAY); glVertexPointer(2, GL_FLOAT, 24, +12);
      glEnableClientState(GL_COLOR_ARRAY); glColorPointer(4, GL_UNSIGNED_BYTE, 24, +20);
      glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_SHORT); glDisableClientState(GL_VERTEX_ARRAY);
      glDisableClientState(GL_COLOR_ARRAY); glDisableClientState(GL_TEXTURE_COORD_ARRAY))"));

  // The texture coordinates of an earlier draw may be gone: with a texture they are not read.
  List().SetTexture(texture.get());
  gl.Clear();
  List().AddIndexedLitTriangleListWT(withTexture, 3, indices, 3, 0);
  EXPECT_EQ(gl.CallsTo("glVertexPointer").size(), 2u);
  EXPECT_EQ(gl.CallsTo("glTexCoordPointer"), Lines{"glTexCoordPointer(2, GL_FLOAT, 24, +12)"});
}

TEST_F(AdderTest, IndexedLineListsStartFromACleanState) {
  const auto texture = SolidTexture({255, 255, 255, 255});
  List().SetDepthFunc(4);
  List().AddTransformedLine({0, 0, -9}, {1, 0, -9}, m_red);
  std::vector<GALitVertex> noVertices;
  std::vector<unsigned int> noIndices;
  GlRecorder gl;
  List().AddIndexedLineList(noVertices, noIndices);
  EXPECT_EQ(Draws(gl), (Lines{"glDrawElements(GL_LINES, 2, GL_UNSIGNED_INT)",
                              "glDrawElements(GL_LINES, 0, GL_UNSIGNED_INT)"}));
  EXPECT_EQ(gl.CallsTo("glDisable("), Lines{"glDisable(GL_LIGHTING)"});

  std::vector<GALitVertex> ends(2);
  std::vector<unsigned int> segment = {1, 0};
  List().PrepForPolygons();
  List().SetTexture(texture.get());
  gl.Clear();
  List().AddIndexedLineList(ends, segment);
  EXPECT_EQ(gl.Calls(), CallsIn(R"(
      glEnd(); glDisable(GL_TEXTURE_2D);
      glEnableClientState(GL_VERTEX_ARRAY); glEnableClientState(GL_COLOR_ARRAY);
      glVertexPointer(3, GL_FLOAT, 16, +0); glColorPointer(4, GL_UNSIGNED_BYTE, 16, +12);
      glDrawElements(GL_LINES, 2, GL_UNSIGNED_INT); glDisableClientState(GL_VERTEX_ARRAY);
      glDisableClientState(GL_COLOR_ARRAY))"));
}

TEST_F(AdderTest, ShadedStripsTakeWidthAndMaterialsFromTheirPoints) {
  GAShadedLineVertex points[2];
  points[0].material = Material(1, 0, 0);
  points[1].material = Material(0, 1, 0);
  points[0].width = 1.5f;
  points[1].position = {4, 5, 6};
  points[1].normal = {0, 1, 0};
  List().PrepForPoints();
  GlRecorder gl;
  List().AddTransformedShadedLineList(points, 2, 1);
  const Lines& calls = gl.Calls();
  EXPECT_EQ(Lines(calls.begin(), calls.begin() + 4), CallsIn(R"(
      glEnable(GL_LINE_SMOOTH); glLineWidth(3); glEnd(); glBegin(GL_LINE_STRIP))"));
  EXPECT_EQ(Lines(calls.end() - 7, calls.end()), CallsIn(R"(
      glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, {0, 1, 0, 1}); glNormal3fv({0, 1, 0});
      glVertex3fv({4, 5, 6}); glEnd(); glBegin(GL_POINTS); glLineWidth(1);
      glDisable(GL_LINE_SMOOTH))"));
  List().SetDepthFunc(6);
  Buffer().SetState(GL3GABuffer::kSmoothingOn, true);
  gl.Clear();
  List().AddTransformedShadedLineList(points, 0, 1);
  EXPECT_EQ(calls, CallsIn(R"(
      glLineWidth(3); glBegin(GL_LINE_STRIP); glEnd(); glLineWidth(1))"));
}

TEST_F(AdderTest, RectanglesKeepTheOpenBlock) {
  List().SetDefaultColor(m_red);
  List().PrepForPoints();
  GlRecorder gl;
  List().AddRectangle(0, 1, 10, 11, -1);  // on the front plane
  EXPECT_EQ(gl.Calls(), CallsIn(R"(
      glEnd(); glBegin(GL_LINE_LOOP); glColor4fv({1, 0, 0, 1}); glVertex3f(0, 1, -1.005);
      glVertex3f(10, 1, -1.005); glVertex3f(10, 11, -1.005); glVertex3f(0, 11, -1.005); glEnd();
      glBegin(GL_POINTS))"));
  GAColor blue = Rgb(0, 0, 255);
  gl.Clear();
  List().AddRectangle(0, 1, 10, 11, -1, blue);
  List().AddRectangle(0, 1, 10, 11, -2);
  List().AddSolidRectangle(0, 1, 10, 11, -1);
  List().AddSolidRectangle(0, 1, 10, 11, -1, blue);
  EXPECT_EQ(gl.CallsTo("glColor4fv"), CallsIn(R"(
      glColor4fv({0, 0, 1, 1}); glColor4fv({1, 0, 0, 1}); glColor4fv({1, 0, 0, 1});
      glColor4fv({0, 0, 1, 1}))"));
  const Lines vertices = gl.CallsTo("glVertex3f");
  EXPECT_EQ(vertices[0], "glVertex3f(0, 1, -1)");
  EXPECT_EQ(vertices[4], "glVertex3f(0, 1, -2)");
  EXPECT_EQ(Lines(vertices.begin() + 8, vertices.begin() + 12), CallsIn(R"(
      glVertex3f(0, 1, -1); glVertex3f(10, 1, -1); glVertex3f(0, 11, -1); glVertex3f(10, 11, -1))"));
  EXPECT_EQ(gl.CallsTo("glBegin(GL_TRIANGLE_STRIP)").size(), 2u);
}

TEST_F(AdderTest, OutlinesOnTheFrontPlaneAreNotLost) {
  List().SetDefaultColor(m_red);
  for (int i = 0; i < 40; ++i) {  // some planes are rounded to the viewer's side
    Info().nearZ = -1 - 0.137f * static_cast<float>(i);
    Buffer().ComputeProjectionMatrices();
    Target().Begin();
    Buffer().SetProjection(0);
    List().AddRectangle(4, 4, 44, 54, Info().nearZ);
    // Lines on pixel borders fall to either side of them.
    EXPECT_NEAR(Target().CountOther({0, 0, 0}), 2 * (40 + 50), 4) << Info().nearZ;
    Target().Begin();
    Buffer().SetProjection(0);
    List().AddSolidRectangle(4, 4, 44, 54, -100);
    EXPECT_EQ(Target().CountOther({0, 0, 0}), 40 * 50);
  }
}

TEST_F(AdderTest, TexturedQuadsShowTheirPictureUpright) {
  TestBitmap bitmap = SolidBitmap(4, 4, {255, 0, 0, 255});
  auto* pixels = static_cast<HRGBABuffer*>(bitmap->GetBufferHead());
  auto* top = static_cast<unsigned char*>(pixels->GetData(0));
  auto* second = static_cast<unsigned char*>(pixels->GetData(1));
  for (int x = 2; x < 4; ++x) top[4 * x + 1] = second[4 * x + 1] = 255;  // top right: yellow
  for (int y = 2; y < 4; ++y) {
    auto* row = static_cast<unsigned char*>(pixels->GetData(y));
    for (int x = 0; x < 4; ++x) row[4 * x + 2] = 255;  // below: magenta
  }
  GL3GATexture texture;
  texture.MakeGATexture(bitmap.get(), 1, 0, 0);
  List().SetTexture(&texture);
  List().SetupLights(nullptr);
  List().SetMaterial(&m_white, 0);
  auto v = Square(0, 0, 30, -9);
  List().AddTransformedQuad(v.data(), 0, 1);
  Target().End();
  EXPECT_TRUE(Near(ColorAt(-12, 12), {255, 0, 0}));
  EXPECT_TRUE(Near(ColorAt(12, 12), {255, 255, 0}));
  EXPECT_TRUE(Near(ColorAt(-12, -12), {255, 0, 255}));
}

}  // namespace
