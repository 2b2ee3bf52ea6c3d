// Batches: what goes into which, when they are flushed, and how they are drawn.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <tuple>

#include "tests/support/drawing_fixture.h"
#include "tests/support/gl_recorder.h"
#include "tests/support/transparent_queue.h"

namespace {

class BatchTest : public DrawingFixture {
 protected:
  bool IsPending() { return Buffer().HasState(GL3GABuffer::kArraysPending); }
  static Lines Draws(const GlRecorder& gl) { return gl.CallsTo("glDrawElements"); }
  static std::string Triangles(int indices) {
    return "glDrawElements(GL_TRIANGLES, " + std::to_string(indices) + ", GL_UNSIGNED_INT)";
  }

  void SetUp() override {
    DrawingFixture::SetUp();
    m_polygon.p0 = {1, 2, -3}, m_polygon.p1 = {4, 5, -6}, m_polygon.p2 = {7, 8, -9};
    m_polygon.uv0 = {11, 12}, m_polygon.uv1 = {13, 14}, m_polygon.uv2 = {15, 16};
    m_polygon.c0 = m_color;
    m_polygon.c1 = Rgb(50, 60, 70, 80);
    m_polygon.c2 = Rgb(90, 100, 110, 120);
  }

  GAColor m_red = Rgb(255, 0, 0), m_green = Rgb(0, 255, 0), m_blue = Rgb(0, 0, 255);
  GAColor m_color = Rgb(10, 20, 30, 40);
  VornPoly m_polygon;  // no two values alike
};

TEST_F(BatchTest, FlushedInAFixedOrderWithWhatTheyWereGiven) {
  GAVertex first[4], second[4];
  for (int i = 0; i < 4; ++i) first[i] = Numbered(i), second[i] = Numbered(i + 4);
  const std::string corners[] = {"(-3 -2 -3 | 10 20 30 40)", "(5 -2 -3 | 10 20 30 40)",
                                 "(5 6 -3 | 10 20 30 40)", "(-3 6 -3 | 10 20 30 40)"};
  const std::string polygon =
      "(1 2 -3 | 11 12 | 10 20 30 40), (4 5 -6 | 13 14 | 50 60 70 80), "
      "(7 8 -9 | 15 16 | 90 100 110 120)";
  const std::string twelve = "GL_TRIANGLES, 12, GL_UNSIGNED_INT, ";
  const std::string six = "GL_TRIANGLES, 6, GL_UNSIGNED_INT, ";
  const Lines wanted = CallsIn(
      IndexedDraw("vc", 16,
                  "GL_LINES, 2, GL_UNSIGNED_INT, {0, 1}, "
                  "{(1 2 -3 | 10 20 30 40), (4 5 -6 | 10 20 30 40)}") +
      IndexedDraw("vn", 32,
                  twelve + "{0, 1, 2, 0, 2, 3, 4, 5, 6, 4, 6, 7}" +
                      NumberedText({0, 1, 3, 0, 3, 2, 4, 5, 7, 4, 7, 6}, false)) +
      IndexedDraw("vnt", 32,
                  twelve + "{0, 1, 2, 3, 4, 5, 6, 7, 8, 6, 8, 9}" +
                      NumberedText({0, 1, 3, 4, 5, 7, 0, 1, 3, 0, 3, 2}, true)) +
      IndexedDraw("vc", 16,
                  six + fmt::format("{{0, 1, 2, 0, 2, 3}}, {{{0}, {1}, {2}, {0}, {2}, {3}}}",
                                    corners[0], corners[1], corners[2], corners[3])) +
      IndexedDraw("vtc", 24, six + fmt::format("{{0, 1, 2, 3, 4, 5}}, {{{0}, {0}}}", polygon)));
  GlRecorder gl(GlRecorder::kIndices | GlRecorder::kVertices);
  for (int round = 0; round < 2; ++round) {  // the second time nothing is left of the first
    List().AddTransformedPolygon(m_polygon, 0);
    List().AddTransformedPolygons(&m_polygon, 1, 0);
    List().AddCP({1, 2, -3}, 5, m_color);  // reaches 4 to each side
    List().AddTransformedTri(first, 0);
    List().AddTransformedTri(second, 0);
    List().AddTransformedQuad(first, 0, 1);
    List().AddTransformedQuad(first, 0, 0);
    List().AddTransformedQuad(second, 0, 0);
    List().AddTransformedLine({1, 2, -3}, {4, 5, -6}, m_color);
    EXPECT_EQ(gl.Calls(), Lines());
    List().FlushArrays();
    EXPECT_EQ(gl.Calls(), wanted);
    EXPECT_FALSE(IsPending());
    gl.Clear();
  }
  Buffer().SetState(GL3GABuffer::kArraysPending, true);
  List().FlushArrays();
  EXPECT_EQ(gl.Calls(), Lines());
  EXPECT_FALSE(IsPending());
}

TEST_F(BatchTest, FlushedWhenTheyHoldMoreThanTheLimit) {
  auto quad = Square(0, 0, 5, -9);
  const VornPoly polygons[2] = {Polygon(m_red, -9), Polygon(m_red, -9)};
  // So many calls until the limit is reached, and the indices that they leave.
  const std::tuple<std::function<void()>, int, int, int> cases[] = {
      {[&] { List().AddTransformedQuad(quad.data(), 0, 0); }, 8, 3, 18},
      {[&] { List().AddTransformedPolygon(polygons[0], 0); }, 6, 3, 9},
      {[&] { List().AddTransformedPolygons(polygons, 2, 0); }, 6, 2, 12},
      {[&] { List().AddTransformedTri(quad.data(), 0); }, 6, 3, 9}};
  for (const auto& [add, limit, calls, indices] : cases) {
    GL3GADriver::gl_max_vertices = limit;
    GlRecorder gl;
    for (int i = 0; i < calls; ++i) add();
    EXPECT_EQ(Draws(gl), Lines());
    add();
    EXPECT_EQ(Draws(gl), Lines{Triangles(indices)});
    EXPECT_TRUE(IsPending());  // for what came after the flush
    List().ExecuteInstructions();
    EXPECT_EQ(Draws(gl), (Lines{Triangles(indices), Triangles(indices / calls)}));
  }
}

TEST_F(BatchTest, LinesAndMarkersAreNotLimitedNorIsANegativeSetting) {
  GlRecorder gl;
  GL3GADriver::gl_max_vertices = 0;
  for (int i = 0; i < 3; ++i) {
    List().AddTransformedLine({0, 0, -9}, {1, 0, -9}, m_red);
    List().AddCP({0, 0, -9}, 4, m_red);
  }
  GL3GADriver::gl_max_vertices = -1;
  for (int i = 0; i < 3; ++i) List().AddTransformedPolygon(Polygon(m_red, -9), 0);
  EXPECT_EQ(Draws(gl), Lines());
}

TEST_F(BatchTest, PendingAlsoWhenNothingWasAdded) {
  Vector point;
  GlRecorder gl;
  List().AddTransformedLineList(&point, 1);
  EXPECT_TRUE(IsPending());
  List().ExecuteInstructions();
  EXPECT_FALSE(IsPending());
  List().AddTransformedLineList(&point, &point, 0, m_red, m_red);
  EXPECT_TRUE(IsPending());
  List().ExecuteInstructions();
  List().AddTransformedPolygons(nullptr, 0, 1);
  EXPECT_TRUE(IsPending());
  List().ExecuteInstructions();
  EXPECT_EQ(gl.Calls(), Lines());
}

TEST_F(BatchTest, LinesHaveTheirOwnEndsAndTheColorsOfTheirTime) {
  Vector p[3] = {{1, 2, -3}, {4, 5, -6}, {7, 8, -9}}, q[2] = {{-1, -2, -13}, {-4, -5, -16}};
  GAColor white = Rgb(255, 255, 255), other = Rgb(50, 60, 70, 80);
  const std::string by[] = {" | 10 20 30 40)", " | 50 60 70 80)"};
  const std::string a = "(1 2 -3", b = "(4 5 -6", c = "(7 8 -9", d = "(-1 -2 -13", e = "(-4 -5 -16";
  using Text = std::vector<std::string>;
  const std::pair<std::function<void()>, Text> cases[] = {
      {[&] { List().AddTransformedLine(p[0], p[1]); }, {a + by[0], b + by[0]}},
      {[&] { List().AddTransformedLine(p[0], p[1], other); }, {a + by[1], b + by[1]}},
      {[&] { List().AddTransformedLineRef(p[1], p[2]); }, {b + by[0], c + by[0]}},
      {[&] { List().AddTransformedLineRef(p[1], p[2], other); }, {b + by[1], c + by[1]}},
      {[&] { List().AddTransformedLine(p[0], other, p[1], m_color); }, {a + by[1], b + by[0]}},
      {[&] { List().AddTransformedLineList(p, 3); }, {a + by[0], b + by[0], b + by[0], c + by[0]}},
      {[&] { List().AddTransformedLineList(p, q, 2, m_color, other); },
       {a + by[0], d + by[1], b + by[0], e + by[1]}}};
  for (const auto& [add, ends] : cases) {
    List().SetDefaultColor(m_color);
    add();
    EXPECT_TRUE(IsPending());
    add();
    List().SetDefaultColor(white);  // comes too late
    Text twice = ends;
    twice.insert(twice.end(), ends.begin(), ends.end());
    GlRecorder gl(GlRecorder::kVertices);
    List().FlushArrays();
    EXPECT_EQ(Draws(gl), Lines{fmt::format("glDrawElements(GL_LINES, {}, GL_UNSIGNED_INT, {{{}}})",
                                           twice.size(), fmt::join(twice, ", "))});
  }
}

TEST_F(BatchTest, MarkersAreCulledInParallelViewsAndKeepTheirSizeInOthers) {
  // The view reaches from (-36, -30) to (28, 20), and the marker 4 to each side. Sideways it must
  // be outside, up and down only reach out.
  Info().viewBottom = -30;
  Info().viewTop = 20;
  const std::pair<Vector, bool> cases[] = {{{-40, 0, -9}, true}, {{-40.5f, 0, -9}, false},
                                           {{32, 0, -9}, true},  {{32.5f, 0, -9}, false},
                                           {{0, 16, -9}, true},  {{0, 16.5f, -9}, false},
                                           {{0, -26, -9}, true}, {{0, -26.5f, -9}, false}};
  for (const auto& [place, added] : cases) {
    List().AddCP(place, 5, m_red);
    EXPECT_EQ(IsPending(), added) << place.x << " " << place.y;
    List().FlushArrays();
  }
  Info().perspective = -4.5f;
  for (const auto& [place, added] : cases) {
    List().AddCP(place, 5, m_red);
    EXPECT_TRUE(IsPending());
    List().FlushArrays();
  }
  List().AddCP({1, 2, -9}, 5, m_color);
  List().AddCP({1, 2, -9}, 5, m_color);
  GlRecorder gl(GlRecorder::kIndices | GlRecorder::kVertices);
  List().FlushArrays();
  EXPECT_TRUE(Draws(gl).front().starts_with(
      "glDrawElements(GL_TRIANGLES, 12, GL_UNSIGNED_INT, {0, 1, 2, 0, 2, 3, 4, 5, 6, 4, 6, 7}, "
      "{(-7 -6 -9 | 10 20 30 40), (9 -6 -9 |"));
}

TEST_F(BatchTest, PolygonsAreDrawnByAscendingKey) {
  EXPECT_TRUE(SortZOrder(Polygon(m_red, 0, 1), Polygon(m_red, 0, 2)));
  EXPECT_FALSE(SortZOrder(Polygon(m_red, 0, 2), Polygon(m_red, 0, 2)));
  EXPECT_FALSE(SortZOrder(Polygon(m_red, 0, 3), Polygon(m_red, 0, 2)));
  const VornPoly polygons[3] = {Polygon(m_red, -5, 5), Polygon(m_green, -1, 1),
                                Polygon(m_blue, -3, 3)};
  GlRecorder gl(GlRecorder::kVertices);
  List().AddTransformedPolygons(polygons, 3, 0);
  List().FlushArrays();
  Lines corners;
  for (const char* end :
       {"-1 | 0 0 | 0 255 0 255)", "-3 | 0 0 | 0 0 255 255)", "-5 | 0 0 | 255 0 0 255)"}) {
    for (const char* corner : {"(-10 -10 ", "(10 -10 ", "(0 10 "}) {
      corners.push_back(std::string(corner) + end);
    }
  }
  EXPECT_EQ(Draws(gl), Lines{fmt::format("glDrawElements(GL_TRIANGLES, 9, GL_UNSIGNED_INT, {{{}}})",
                                         fmt::join(corners, ", "))});
}

TEST_F(BatchTest, PolygonArraysAreQueuedInTheSameOrder) {
  AttrProperty clear = Material(1, 1, 1, 0.5f);
  const auto texture = SolidTexture({255, 0, 0, 255});
  LightList lights(std::vector<GALight>(1));
  List().SetMaterial(&clear, 0);
  List().SetupLights(lights.Head());
  List().SetTexture(texture.get());
  m_polygon.depthKey = 2;
  const VornPoly polygons[3] = {Polygon(m_red, -5, 5), Polygon(m_red, -1, 1), m_polygon};
  List().AddTransformedPolygons(polygons, 3, 1);
  ASSERT_EQ(TransparentQueue::Count(Buffer()), 3);
  const TransparentRecord* records = TransparentQueue::Records(Buffer());
  EXPECT_EQ(records[0].a.z, -1);
  EXPECT_EQ(records[2].a.z, -5);
  const TransparentRecord& record = records[1];
  const GAVertex wanted[3] = {
      {1, 2, -3, 0, 0, 0, 11, 12}, {4, 5, -6, 0, 0, 0, 13, 14}, {7, 8, -9, 0, 0, 0, 15, 16}};
  EXPECT_EQ(std::memcmp(&record.a, wanted, sizeof wanted), 0);
  EXPECT_EQ(record.attribute, &clear);
  EXPECT_EQ(record.lights, lights.Head());
  EXPECT_EQ(record.texture, texture.get());
  EXPECT_FALSE(IsPending());
}

TEST_F(BatchTest, PolygonsAreOnlyQueuedWhenTheyShouldBe) {
  const auto clearTexture = SolidTexture({255, 0, 0, 128});
  AttrProperty clear = Material(1, 1, 1, 0.5f);
  const VornPoly polygons[2] = {Polygon(m_red, -9), Polygon(m_red, -9)};
  const auto queued = [&](int check) {
    const int before = TransparentQueue::Count(Buffer());
    List().AddTransformedPolygon(polygons[0], check);
    List().AddTransformedPolygons(polygons, 2, check);
    return TransparentQueue::Count(Buffer()) - before;
  };
  EXPECT_EQ(queued(1), 0);
  List().SetTexture(clearTexture.get());
  EXPECT_EQ(queued(0), 0);
  EXPECT_EQ(queued(1), 3);
  List().SetTexture(nullptr);
  EXPECT_EQ(queued(1), 0);
  List().SetMaterial(&clear, 0);
  EXPECT_EQ(queued(1), 3);
  List().SetDepthFunc(0);
  EXPECT_EQ(queued(1), 0);
  List().SetDepthFunc(1);
  GL3GABuffer::m_maxtransparentpolys = TransparentQueue::Count(Buffer()) + 2;
  for (const int added : {1, 1, 0}) EXPECT_EQ(queued(1), added);  // both, or neither
  GlRecorder gl;
  List().FlushArrays();
  EXPECT_EQ(gl.CallsTo("glColorPointer"), Lines{"glColorPointer(4, GL_UNSIGNED_BYTE, 24, +20)"});
}

TEST_F(BatchTest, TwoHundredThousandTransparentPolygonsAllAppear) {
  AttrProperty clear = Material(1, 1, 1, 0.5f);
  List().SetMaterial(&clear, 0);
  const std::vector<VornPoly> polygons(200000, Polygon(m_red, -9));
  List().AddTransformedPolygons(polygons.data(), 200000, 1);
  EXPECT_EQ(TransparentQueue::Count(Buffer()), 150000);
  GlRecorder gl;
  Target().End();
  EXPECT_EQ(Draws(gl), (Lines{Triangles(150000), Triangles(450000)}));
}

TEST_F(BatchTest, KeysThatAreNoNumbersComeLast) {
  AttrProperty clear = Material(1, 1, 1, 0.5f);
  List().SetMaterial(&clear, 0);
  std::vector<VornPoly> polygons(1000);
  for (std::size_t i = 0; i < polygons.size(); ++i) {
    polygons[i].depthKey = i % 3 == 0 ? NAN : static_cast<float>(i * 7919 % 1000);
    polygons[i].p0.z = polygons[i].depthKey;
  }
  List().AddTransformedPolygons(polygons.data(), 1000, 1);
  ASSERT_EQ(TransparentQueue::Count(Buffer()), 1000);
  const TransparentRecord* records = TransparentQueue::Records(Buffer());
  EXPECT_TRUE(std::is_sorted(records, records + 666, [](const auto& first, const auto& second) {
    return first.a.z < second.a.z;
  }));
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(std::isnan(records[i].a.z), i >= 666) << i;
}

}  // namespace
