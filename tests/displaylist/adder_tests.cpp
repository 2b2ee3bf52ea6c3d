// Lit triangles and quads, polylines, fans, indexed lists and rectangles.
#include <cmath>
#include <cstdlib>

#include "tests/support/drawing_fixture.h"
#include "tests/support/faults.h"
#include "tests/support/gl_recorder.h"
#include "tests/support/transparent_queue.h"

namespace {

class AdderTest : public DrawingFixture {
 protected:
  static Lines Draws(const GlRecorder& gl) { return gl.CallsTo("glDrawElements"); }
  void MakeTransparent() { List().SetMaterial(&m_clear, 0); }
  /// The numbers of a queued triangle's corners.
  std::vector<float> Queued(int record) {
    const TransparentRecord& r = TransparentQueue::Records(Buffer())[record];
    return {r.a.x, r.b.x, r.c.x};
  }

  AttrProperty m_clear = Material(1, 1, 1, 0.5f);
  GAColor m_red = Rgb(255, 0, 0);
  GAVertex m_v[6] = {Numbered(0), Numbered(1), Numbered(2), Numbered(3), Numbered(4), Numbered(5)};
  /// Ends of a polyline: a quarter and half faded, 5 pixels wide.
  GAVertex m_ends[2] = {{1, 2, -3, 0.1f, 0.2f, 0.3f, 0.25f, 5},
                        {4, 5, -6, 0.4f, 0.5f, 0.6f, 0.5f, 7}};
};

TEST_F(AdderTest, TransparentTrianglesAndQuadsAreQueued) {
  const auto draw = [&](int check, std::initializer_list<int> modes) {
    m_v[2].z = NAN;  // a triangle never reads its third element
    List().AddTransformedTri(m_v, check);
    m_v[2].z = -22;
    for (const int mode : modes) List().AddTransformedQuad(m_v, mode, 1);
    return TransparentQueue::Count(Buffer());
  };
  List().SetDefaultColor(m_red);
  GlRecorder gl;
  EXPECT_EQ(draw(1, {0, 1, 2}), 0);
  EXPECT_EQ(gl.Take(), Lines{"glColor4fv({1, 0, 0, 1})"});
  List().FlushArrays();
  EXPECT_EQ(Draws(gl), Lines{"glDrawElements(GL_TRIANGLES, 21, GL_UNSIGNED_INT)"});
  MakeTransparent();
  EXPECT_EQ(draw(0, {0, 2}), 0);
  List().SetDepthFunc(0);  // without meaning for lit ones
  ASSERT_EQ(draw(1, {1, 3, 0x4000}), 7);
  EXPECT_EQ(Queued(0), (std::vector<float>{0, 1, 3}));
  for (const int quad : {1, 3, 5}) {  // along the other diagonal than in a batch
    EXPECT_EQ(Queued(quad), (std::vector<float>{0, 1, 2}));
    EXPECT_EQ(Queued(quad + 1), (std::vector<float>{1, 3, 2}));
  }
  EXPECT_EQ(TransparentQueue::Records(Buffer())[6].attribute, &m_clear);
}

TEST_F(AdderTest, TransparentTrianglesFillTheQueueToItsLastPlace) {
  MakeTransparent();
  GL3GABuffer::m_maxtransparentpolys = 3;
  for (const int queued : {1, 2, 3, 3}) {
    List().AddTransformedTri(m_v, 1);
    EXPECT_EQ(TransparentQueue::Count(Buffer()), queued);
  }
  GlRecorder gl;
  List().FlushArrays();  // the one too many was drawn with those that are not transparent
  EXPECT_EQ(Draws(gl), Lines{"glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT)"});
}

TEST_F(AdderTest, ATransparentQuadDrainsTheFullQueue) {
  MakeTransparent();
  GlRecorder gl;
  const auto count = [&](int room) {
    GL3GABuffer::m_maxtransparentpolys = room;
    List().AddTransformedQuad(m_v, 1, 0);
    return TransparentQueue::Count(Buffer());
  };
  EXPECT_EQ(count(3), 2);
  EXPECT_EQ(Draws(gl), Lines());
  EXPECT_EQ(count(3), 2);
  EXPECT_EQ(Draws(gl), Lines{"glDrawElements(GL_TRIANGLES, 6, GL_UNSIGNED_INT)"});
  EXPECT_EQ(count(4), 4);
  // A setting that has no room for a quad does not halve it.
  List().FlushTransparentPolys();
  EXPECT_EQ(count(0), 2);
  // Without memory there is nowhere to put it.
  List().FlushTransparentPolys();
  Faults faults;
  faults.FailAlways(FaultPoint::kAllocOGL);
  EXPECT_EQ(count(4), 0);
}

TEST_F(AdderTest, PolylinesGoAroundTheOpenBlock) {
  List().PrepForPoints();
  GlRecorder gl;
  Faults faults;
  faults.Fail(FaultPoint::kAllocOGL);
  for (const int mode : {0x8002, 0xC002}) {  // the fading one has no room
    List().AddTransformedQuad(m_ends, mode, 1);
    EXPECT_EQ(gl.Take(), CallsIn(R"(
        glLineWidth(5); glEnd(); glBegin(GL_LINE_STRIP); glNormal3fv({0.1, 0.2, 0.3});
        glVertex3fv({1, 2, -3}); glNormal3fv({0.4, 0.5, 0.6}); glVertex3fv({4, 5, -6}); glEnd();
        glBegin(GL_POINTS); glLineWidth(1))"));
  }
  EXPECT_EQ(faults.Calls(FaultPoint::kAllocOGL), 1);
  List().EndInstructions();
  for (const int mode : {0x8000, 0xC000}) {
    Buffer().SetState(GL3GABuffer::kSmoothingOn, true);
    List().SetDepthFunc(0);
    gl.Clear();
    List().AddTransformedQuad(m_ends, mode, 0);
    EXPECT_EQ(gl.CallsTo("glLine"), (Lines{"glLineWidth(5)", "glLineWidth(1)"}));
    EXPECT_EQ(gl.Count("glNormal3fv") + gl.Count("glEnable") + gl.Count("glDisable"), 0);
  }
}

TEST_F(AdderTest, FadingPolylinesFadeTheColorInForce) {
  // The GL's answer is what fades, whatever the buffer sent last.
  float sent[4] = {0.1f, 0.2f, 0.3f, 0.5f};
  const float found[4] = {0.9f, 0.7f, 0.6f, 0.8f};
  Buffer().SetDiffuseMaterial(sent);
  glMaterialfv(GL_FRONT, GL_DIFFUSE, found);
  Buffer().MakeRoomForTransparentPolys(1);
  GL3GABuffer::m_maxtransparentpolys = 1;  // just enough for the form
  const auto diffuse = [](const std::string& rgba) {
    return "glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, {" + rgba + "});";
  };
  const auto strip = [&](const std::string& first, const std::string& second) {
    return "glBegin(GL_LINE_STRIP); glNormal3fv({0.1, 0.2, 0.3});" + diffuse(first) +
           "glVertex3fv({1, 2, -3}); glNormal3fv({0.4, 0.5, 0.6});" + diffuse(second) +
           "glVertex3fv({4, 5, -6}); glEnd();";
  };
  GlRecorder gl;
  List().AddTransformedQuad(m_ends, 0xC002, 0);
  EXPECT_EQ(gl.Calls(), CallsIn(R"(
      glGetMaterialfv(GL_FRONT, GL_DIFFUSE, pointer); glEnable(GL_LINE_SMOOTH);
      glDisable(GL_DEPTH_TEST); glLineWidth(5);)" +
                                strip("0.9, 0.7, 0.6, 0.6", "0.9, 0.7, 0.6, 0.4") +
                                "glEnable(GL_DEPTH_TEST); glDisable(GL_LINE_SMOOTH);" +
                                diffuse("0.9, 0.7, 0.6, 0.8") + "glLineWidth(1)"));
  EXPECT_EQ(TransparentQueue::Count(Buffer()), 0);

  // With a block open the GL does not answer: then it is what the buffer sent last. Smoothing that
  // is on already stays on, and a depth test that is off stays off.
  Buffer().SetDiffuseMaterial(sent);
  Buffer().SetState(GL3GABuffer::kSmoothingOn, true);
  List().SetDepthFunc(0);
  List().PrepForPoints();
  gl.Clear();
  List().AddTransformedQuad(m_ends, 0xC002, 0);
  EXPECT_EQ(gl.Take(),
            CallsIn("glGetMaterialfv(GL_FRONT, GL_DIFFUSE, pointer); glLineWidth(5); glEnd();" +
                    strip("0.1, 0.2, 0.3, 0.375", "0.1, 0.2, 0.3, 0.25") + "glBegin(GL_POINTS);" +
                    diffuse("0.1, 0.2, 0.3, 0.5") + "glLineWidth(1)"));
  GL3GABuffer::m_maxtransparentpolys = 0;
  List().AddTransformedQuad(m_ends, 0xC002, 0);
  EXPECT_EQ(gl.Count("glGetMaterialfv"), 0);
}

TEST_F(AdderTest, ColoredQuadsReadTheirRecordsInTheirOwnOrder) {
  RGBFloat colors[4];
  for (RGBFloat& color : colors) color.red = 1, color.green = 0.5f, color.blue = 0.25f;
  colors[3].blue = 0.375f;
  List().PrepForPoints();
  GlRecorder gl;
  List().AddTransformedQuad(m_v, colors, 1);
  EXPECT_EQ(gl.Take(), CallsIn(R"(
      glEnd(); glBegin(GL_TRIANGLE_STRIP);
      glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, {1, 0.5, 0.25, 1});
      glTexCoord2fv({60, 70}); glNormal3fv({30, 40, 50}); glVertex3fv({0, 10, -20});
      glTexCoord2fv({61, 71}); glNormal3fv({31, 41, 51}); glVertex3fv({1, 11, -21});
      glTexCoord2fv({62, 72}); glNormal3fv({32, 42, 52}); glVertex3fv({2, 12, -22});
      glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, {1, 0.5, 0.375, 1});
      glTexCoord2fv({63, 73}); glNormal3fv({33, 43, 53}); glVertex3fv({3, 13, -23});
      glEnd(); glBegin(GL_POINTS))"));
  List().AddTransformedQuad(m_v, colors, 0);
  EXPECT_EQ(gl.Count("glTexCoord2fv"), 0);
  EXPECT_EQ(gl.Count("glVertex3fv"), 4);

  GALitVertex lit[4] = {{-9, -8, -7, 255, 51, 0, 102},
                        {9, -6, -5, 0, 255, 51, 255},
                        {-4, 9, -3, 102, 0, 255, 51},
                        {8, 7, -2, 51, 102, 204, 0}};
  gl.Clear();
  List().AddTransformedQuad(lit);
  EXPECT_EQ(gl.Calls(), CallsIn(R"(
      glEnd(); glBegin(GL_TRIANGLE_STRIP);
      glColor4fv({0, 0.2, 1, 0.4}); glVertex3fv({-9, -8, -7});
      glColor4fv({0.2, 1, 0, 1}); glVertex3fv({9, -6, -5});
      glColor4fv({1, 0, 0.4, 0.2}); glVertex3fv({-4, 9, -3});
      glColor4fv({0.8, 0.4, 0.2, 0}); glVertex3fv({8, 7, -2}); glEnd(); glBegin(GL_POINTS))"));
}

TEST_F(AdderTest, LongFansAreDrawnVertexByVertex) {
  std::vector<unsigned short> indices(100);
  for (std::size_t i = 0; i < indices.size(); ++i) {
    indices[i] = static_cast<unsigned short>(2 - i % 3);
  }
  List().PrepForPoints();
  GlRecorder gl(GlRecorder::kVertices);
  List().AddIndexedTriangleFan(m_v, 3, indices.data(), 99, 1);
  EXPECT_EQ(Draws(gl).size(), 1u);
  EXPECT_TRUE(Draws(gl)[0].starts_with("glDrawElements(GL_TRIANGLE_FAN, 99, GL_UNSIGNED_SHORT, "));
  EXPECT_EQ(gl.Count("glEnd"), 0);
  gl.Clear();
  List().AddIndexedTriangleFan(m_v, 3, indices.data(), 3, 1);
  EXPECT_EQ(gl.Take(), CallsIn(IndexedDraw("vnt", 32,
                                           "GL_TRIANGLE_FAN, 3, GL_UNSIGNED_SHORT" +
                                               NumberedText({2, 1, 0}, true))));
  List().AddIndexedTriangleFan(m_v, 3, indices.data(), 100, 1);
  const Lines& calls = gl.Calls();
  ASSERT_EQ(calls.size(), 304u);
  EXPECT_EQ(Lines(calls.begin(), calls.begin() + 8), CallsIn(R"(
      glEnd(); glBegin(GL_TRIANGLE_FAN); glTexCoord2fv({62, 72}); glNormal3fv({32, 42, 52});
      glVertex3fv({2, 12, -22}); glTexCoord2fv({61, 71}); glNormal3fv({31, 41, 51});
      glVertex3fv({1, 11, -21}))"));
  EXPECT_EQ(Lines(calls.end() - 3, calls.end()), CallsIn(R"(
      glVertex3fv({2, 12, -22}); glEnd(); glBegin(GL_POINTS))"));
  EXPECT_FALSE(Buffer().HasState(GL3GABuffer::kArraysPending));
}

TEST_F(AdderTest, TransparentFansAreQueuedAsFarAsThereIsRoom) {
  unsigned short indices[6] = {5, 0, 1, 2, 3, 4};
  MakeTransparent();
  GlRecorder gl(GlRecorder::kIndices);
  // What is drawn of a fan of so many indices, the others are queued. `count` is all that wait.
  const auto fan = [&](unsigned long size, int check, int count) {
    gl.Clear();
    List().AddIndexedTriangleFan(m_v, 6, indices, size, check);
    EXPECT_EQ(TransparentQueue::Count(Buffer()), count);
    const std::string prefix = "glDrawElements(GL_TRIANGLE_FAN, ";
    return gl.Calls().empty() ? "" : Draws(gl).front().substr(prefix.size());
  };
  EXPECT_EQ(fan(2, 1, 0), "");
  EXPECT_EQ(fan(4, 0, 0), "4, GL_UNSIGNED_SHORT, {5, 0, 1, 2})");
  EXPECT_EQ(fan(4, 1, 2), "");
  EXPECT_EQ(Queued(0), (std::vector<float>{5, 0, 1}));
  EXPECT_EQ(Queued(1), (std::vector<float>{5, 1, 2}));
  GL3GABuffer::m_maxtransparentpolys = 4;
  EXPECT_EQ(fan(5, 1, 2), "5, GL_UNSIGNED_SHORT, {5, 0, 1, 2, 3})");
  EXPECT_EQ(fan(4, 1, 4), "");

  // A new queue takes any count on trust; what it cannot hold is drawn at once.
  GL3GABuffer::m_maxtransparentpolys = 1;
  List().FlushTransparentPolys();
  EXPECT_EQ(fan(6, 1, 2), "4, GL_UNSIGNED_SHORT, {5, 2, 3, 4})");
  EXPECT_EQ(fan(3, 1, 2), "3, GL_UNSIGNED_SHORT, {5, 0, 1})");  // full
}

TEST_F(AdderTest, IndexedTriangleListsStartFromACleanState) {
  const auto texture = SolidTexture({255, 255, 255, 255});
  GALitVertex lit[3] = {
      {1, 2, -3, 10, 20, 30, 40}, {4, 5, -6, 50, 60, 70, 80}, {7, 8, -9, 90, 100, 110, 120}};
  GALitVertexWT withTexture[3] = {{-9, -9, -9, 0, 0, 255, 0, 0, 255}};
  unsigned short indices[4] = {2, 0, 1, 0};
  List().SetTexture(texture.get());
  List().SetDepthFunc(4);
  List().PrepForPoints();  // texturing off, and yet the texture is current
  Buffer().SetState(GL3GABuffer::kLightingOn, true);
  const std::string bind = Bind(*texture);
  {
    GlRecorder gl(GlRecorder::kVertices);
    List().AddIndexedLitTriangleList(lit, 3, indices, 3, 0);
    EXPECT_EQ(gl.Calls(), CallsIn("glEnd();glEnable(GL_TEXTURE_2D);" + bind +
                                  R"(;
      glDisable(GL_LIGHTING); glEnableClientState(GL_VERTEX_ARRAY);
      glVertexPointer(3, GL_FLOAT, 16, +0); glEnableClientState(GL_COLOR_ARRAY);
      glColorPointer(4, GL_UNSIGNED_BYTE, 16, +12);
      glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_SHORT, )"
                                  "{(7 8 -9 | 90 100 110 120), (1 2 -3 | 10 20 30 40), "
                                  "(4 5 -6 | 50 60 70 80)})"
                                  R"(;
      glDisableClientState(GL_VERTEX_ARRAY); glDisableClientState(GL_COLOR_ARRAY))"));
  }
  GlRecorder gl;

  // The texture coordinates of an earlier draw may be gone: with a texture they are not read.
  for (GL3GATexture* set : {static_cast<GL3GATexture*>(nullptr), texture.get()}) {
    List().SetTexture(set);
    gl.Clear();
    List().AddIndexedLitTriangleListWT(withTexture, 3, indices, 3, 0);
    EXPECT_EQ(gl.Calls(), CallsIn((set ? bind + ";" : "") + R"(
        glEnableClientState(GL_VERTEX_ARRAY); glVertexPointer(3, GL_FLOAT, 24, +0);
        glEnableClientState(GL_TEXTURE_COORD_ARRAY); glVertexPointer(2, GL_FLOAT, 24, +12);)" +
                                  (set ? "glTexCoordPointer(2, GL_FLOAT, 24, +12);" : "") + R"(
        glEnableClientState(GL_COLOR_ARRAY); glColorPointer(4, GL_UNSIGNED_BYTE, 24, +20);
        glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_SHORT); glDisableClientState(GL_VERTEX_ARRAY);
        glDisableClientState(GL_COLOR_ARRAY); glDisableClientState(GL_TEXTURE_COORD_ARRAY))"));
  }
}

TEST_F(AdderTest, IndexedLineListsStartFromACleanState) {
  const auto texture = SolidTexture({255, 255, 255, 255});
  List().SetDepthFunc(4);
  List().AddTransformedLine({0, 0, -9}, {1, 0, -9}, m_red);
  std::vector<GALitVertex> noVertices;
  std::vector<unsigned int> noIndices;
  GlRecorder gl(GlRecorder::kVertices);
  List().AddIndexedLineList(noVertices, noIndices);
  EXPECT_EQ(Draws(gl), (Lines{"glDrawElements(GL_LINES, 2, GL_UNSIGNED_INT, "
                              "{(0 0 -9 | 255 0 0 255), (1 0 -9 | 255 0 0 255)})",
                              "glDrawElements(GL_LINES, 0, GL_UNSIGNED_INT, {})"}));
  EXPECT_EQ(gl.CallsTo("glVertexPointer").back(), "glVertexPointer(3, GL_FLOAT, 16, null)");
  EXPECT_EQ(gl.CallsTo("glColorPointer").back(), "glColorPointer(4, GL_UNSIGNED_BYTE, 16, null)");
  EXPECT_EQ(gl.CallsTo("glDisable("), Lines{"glDisable(GL_LIGHTING)"});
  EXPECT_FALSE(Buffer().HasState(GL3GABuffer::kLightingOn));

  std::vector<GALitVertex> ends = {{1, 2, -3, 10, 20, 30, 40}, {4, 5, -6, 50, 60, 70, 80}};
  std::vector<unsigned int> segment = {1, 0};
  List().PrepForPolygons();
  List().SetTexture(texture.get());
  gl.Clear();
  List().AddIndexedLineList(ends, segment);
  EXPECT_EQ(gl.Calls(), CallsIn("glEnd(); glDisable(GL_TEXTURE_2D);" +
                                IndexedDraw("vc", 16,
                                            "GL_LINES, 2, GL_UNSIGNED_INT, "
                                            "{(4 5 -6 | 50 60 70 80), (1 2 -3 | 10 20 30 40)}")));
}

TEST_F(AdderTest, ShadedStripsTakeWidthAndMaterialsFromTheirPoints) {
  GAShadedLineVertex points[2];
  points[0].material = Material(1, 0.5f, 0.25f);  // a quarter of it is ambient
  points[0].position = {1, 2, -3};
  points[0].normal = {0.1f, 0.2f, 0.3f};
  points[0].width = 1.5f;
  points[1].material = Material(0.5f, 0.25f, 1);
  points[1].position = {4, 5, -6};
  points[1].normal = {0.4f, 0.5f, 0.6f};
  points[1].width = 7;
  List().PrepForPoints();
  GlRecorder gl;
  List().AddTransformedShadedLineList(points, 2, 1);
  EXPECT_EQ(gl.Calls(), CallsIn(R"(
      glEnable(GL_LINE_SMOOTH); glLineWidth(3); glEnd(); glBegin(GL_LINE_STRIP);
      glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, {0.75, 0.4375, 0.234375, 1});
      glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, {0.25, 0.125, 0.0625, 1});
      glMaterialfv(GL_FRONT_AND_BACK, GL_SHININESS, {0, 0, 0, 1});
      glMaterialfv(GL_FRONT_AND_BACK, GL_SPECULAR, {0, 0, 0, 1});
      glNormal3fv({0.1, 0.2, 0.3}); glVertex3fv({1, 2, -3});
      glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, {0.4375, 0.234375, 0.75, 1});
      glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, {0.125, 0.0625, 0.25, 1});
      glNormal3fv({0.4, 0.5, 0.6}); glVertex3fv({4, 5, -6});
      glEnd(); glBegin(GL_POINTS); glLineWidth(1); glDisable(GL_LINE_SMOOTH))"));
  List().SetDepthFunc(6);
  for (const bool smoothing : {true, false}) {  // on already, or not asked for
    Buffer().SetState(GL3GABuffer::kSmoothingOn, smoothing);
    gl.Clear();
    List().AddTransformedShadedLineList(points, 0, smoothing);
    EXPECT_EQ(gl.Calls(), CallsIn(R"(
        glLineWidth(3); glBegin(GL_LINE_STRIP); glEnd(); glLineWidth(1))"));
  }
}

TEST_F(AdderTest, RectanglesKeepTheOpenBlock) {
  GAColor mixed = Rgb(51, 102, 153, 204);
  List().SetDefaultColor(m_red);
  List().PrepForPoints();
  const auto wanted = [](const char* color, const std::string& z) {
    const std::string a = "glVertex3f(1, 2, " + z + ");", b = "glVertex3f(30, 2, " + z + ");",
                      c = "glVertex3f(30, 40, " + z + ");", d = "glVertex3f(1, 40, " + z + ");";
    const std::string start = ");glColor4fv(" + std::string(color) + ");";
    const char* const end = "glEnd();glBegin(GL_POINTS)";
    return std::pair(CallsIn("glEnd();glBegin(GL_LINE_LOOP" + start + a + b + c + d + end),
                     CallsIn("glEnd();glBegin(GL_TRIANGLE_STRIP" + start + a + b + d + c + end));
  };
  const char *const red = "{1, 0, 0, 1}", *const other = "{0.2, 0.4, 0.6, 0.8}";
  GlRecorder gl;
  List().AddRectangle(1, 2, 30, 40, -1);  // on the front plane
  EXPECT_EQ(gl.Take(), wanted(red, "-1.005").first);
  for (const char* z : {"-0.5", "-2"}) {
    List().AddRectangle(1, 2, 30, 40, std::strtof(z, nullptr));
    EXPECT_EQ(gl.Take(), wanted(red, z).first);
  }
  List().AddRectangle(1, 2, 30, 40, -1, mixed);
  EXPECT_EQ(gl.Take(), wanted(other, "-1").first);
  List().AddSolidRectangle(1, 2, 30, 40, -1);
  EXPECT_EQ(gl.Take(), wanted(red, "-1").second);
  List().AddSolidRectangle(1, 2, 30, 40, -1, mixed);
  EXPECT_EQ(gl.Take(), wanted(other, "-1").second);
}

}  // namespace
