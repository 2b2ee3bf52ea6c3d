// The display list's own shapes, as the lines that reach the derived adders.
#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>

#include "tests/support/drawing_fixture.h"

namespace {

/// The module's list, but for its lines: these are kept.
class Recorder : public GL3DisplayList {
 public:
  using GL3DisplayList::GL3DisplayList;
  struct Line {
    Vector a, b;
    const GAColor* colorA;
    const GAColor* colorB;
  };

  void AddTransformedLine(const Vector& a, const Vector& b) override {
    lines.push_back({a, b, nullptr, nullptr});
  }
  void AddTransformedLine(const Vector& a, const Vector& b, const GAColor& color) override {
    lines.push_back({a, b, &color, &color});
  }
  void AddTransformedLine(const Vector& a, const GAColor& colorA, const Vector& b,
                          const GAColor& colorB) override {
    lines.push_back({a, b, &colorA, &colorB});
  }
  void AddTransformedLineList(Vector* points, int count) override {
    for (int i = 1; i < count; ++i) AddTransformedLine(points[i - 1], points[i]);
  }
  void AddTransformedLineList(Vector* a, Vector* b, int count, GAColor& colorA,
                              GAColor& colorB) override {
    for (int i = 0; i < count; ++i) AddTransformedLine(a[i], colorA, b[i], colorB);
  }

  const GAColor& DefaultColor() const { return m_defaultColor; }
  void ForgetInfo() { m_renderInfo = nullptr; }

  std::vector<Line> lines;
};

double Distance(const Vector& a, const Vector& b) {
  return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z);
}
Vector Middle(const Vector& a, const Vector& b) {
  return {(a.x + b.x) / 2, (a.y + b.y) / 2, (a.z + b.z) / 2};
}

class ShapesTest : public DrawingFixture {
 protected:
  void SetUp() override {
    DrawingFixture::SetUp();
    m_info.buffer = &Buffer();
    m_list.emplace(&m_info);
  }
  void TearDown() override {
    m_list.reset();
    DrawingFixture::TearDown();
  }
  /// Checks that the lines are connected, and lead back to their start when `closed`.
  void ExpectConnected(bool closed) {
    ASSERT_FALSE(m_list->lines.empty());
    for (std::size_t i = 1; i < m_list->lines.size(); ++i) {
      EXPECT_EQ(Distance(m_list->lines[i - 1].b, m_list->lines[i].a), 0);
    }
    EXPECT_EQ(Distance(m_list->lines.back().b, m_list->lines.front().a) == 0, closed);
  }

  // Quarter turn about z with a scale of 2, then a shift.
  float m_matrix[12] = {0, -2, 0, 10, 2, 0, 0, 20, 0, 0, 2, 30};
  RenderInfo m_info;
  std::optional<Recorder> m_list;
  GAColor m_color = Rgb(1, 2, 3), m_other = Rgb(4, 5, 6);
};

TEST_F(ShapesTest, ObjectLinesAreTransformed) {
  m_info.objectToView = m_matrix;
  m_list->AddLine(Vector{1, 0, 0}, Vector{0, 1, 1});
  m_list->AddLine(Vector{1, 0, 0}, Vector{0, 1, 1}, m_color);
  m_list->AddLine(Vector{1, 0, 0}, m_color, Vector{0, 1, 1}, m_other);
  std::vector<Vector> a(1000, {1, 0, 0}), b(1000, {0, 1, 1});
  for (int i = 0; i < 1000; ++i) a[i].z = b[i].y = static_cast<float>(i);
  m_list->AddLineList(a.data(), b.data(), 1000, m_color, m_other);
  m_list->AddLineList(a.data(), b.data(), -1, m_color, m_other);
  m_list->AddLineList(nullptr, b.data(), 1, m_color, m_other);
  ASSERT_EQ(m_list->lines.size(), 1003u);
  for (int i = 0; i < 1003; ++i) {
    const auto z = static_cast<float>(std::max(i - 3, 0)), y = i < 3 ? 1.0f : z;
    EXPECT_EQ(Distance(m_list->lines[i].a, {10, 22, 30 + 2 * z}), 0) << i;
    EXPECT_EQ(Distance(m_list->lines[i].b, {10 - 2 * y, 20, 32}), 0) << i;
  }
  EXPECT_EQ(m_list->lines[0].colorA, nullptr);
  EXPECT_EQ(m_list->lines[1].colorB, &m_color);
  EXPECT_EQ(m_list->lines[2].colorB, &m_other);
  EXPECT_EQ(m_list->lines[1002].colorA, &m_color);
  EXPECT_EQ(m_list->lines[1002].colorB, &m_other);
  EXPECT_EQ(a[0].x, 1);
}

TEST_F(ShapesTest, CirclesKeepTheChordErrorUnderAQuarterPixel) {
  const Vector center{3, 4, -50};
  for (float perspective : {0.0f, -10.0f}) {
    for (float radius : {0.001f, 0.5f, 7.0f, 40.0f}) {
      for (float scale : {1.0f, 100.0f}) {
        m_info.scaleX = scale;
        m_info.scaleY = scale / 2;
        m_info.perspective = perspective;
        m_list->lines.clear();
        m_list->AddTransformedCircle(center, radius, m_color);
        ExpectConnected(true);
        const double pixels = scale * (perspective == 0 ? 1 : perspective / center.z);
        for (const Recorder::Line& line : m_list->lines) {
          EXPECT_NEAR(Distance(line.a, center), radius, 1e-5 * radius + 1e-5);
          EXPECT_LE((radius - Distance(Middle(line.a, line.b), center)) * pixels, 0.251);
          EXPECT_EQ(line.a.z, center.z);
        }
        // No more than needed: half as many segments would break the bound.
        const double half = radius * pixels * (1 - std::cos(2 * M_PI / m_list->lines.size()));
        if (m_list->lines.size() > 12) {
          EXPECT_GT(half, 0.25);
        }
      }
    }
  }
  m_info.perspective = -10;
  m_list->lines.clear();
  m_list->AddTransformedCircle({0, 0, 5}, 1e30f);  // around the eye
  EXPECT_EQ(m_list->lines.size(), 1024u);
}

TEST_F(ShapesTest, ObjectCirclesAreTransformedEllipses) {
  m_info.objectToView = m_matrix;
  m_info.scaleX = m_info.scaleY = 10;
  m_list->AddCircle({1, 0, 0}, {3, 0, 0}, {0, 1, 0});
  ExpectConnected(true);
  EXPECT_EQ(m_list->lines[0].colorA, nullptr);
  EXPECT_EQ(Distance(m_list->lines[0].a, {10, 28, 30}), 0);
  for (const Recorder::Line& line : m_list->lines) {
    EXPECT_NEAR(std::hypot((line.a.x - 10) / 2, (line.a.y - 22) / 6), 1, 1e-5);
  }
  const std::size_t whole = m_list->lines.size();
  m_list->lines.clear();
  m_list->AddSemiCircle({1, 0, 0}, {3, 0, 0}, {0, 1, 0}, m_color);
  ExpectConnected(false);
  EXPECT_EQ(m_list->lines.size(), whole / 2);
  EXPECT_EQ(Distance(m_list->lines.front().a, {10, 28, 30}), 0);
  EXPECT_EQ(Distance(m_list->lines.back().b, {10, 16, 30}), 0);
  for (const Recorder::Line& line : m_list->lines) EXPECT_LE(line.a.x, 10);  // the side of axis B
}

TEST_F(ShapesTest, RoundRectsCutTheirRadii) {
  struct Case {
    int x1, y1, x2, y2, radiusX, radiusY;
    double rx, ry;
  };
  const Case cases[] = {{0, 0, 40, 20, 5, 3, 5, 3},         {40, 20, 0, 0, 5, 3, 5, 3},
                        {0, 0, 40, 20, 500, 500, 20, 10},   {0, 0, 40, 20, -5, 3, 0, 0},
                        {7, 7, 7, 7, 3, 3, 0, 0},           {0, 0, 41, 1, 9, 9, 9, 0.5},
                        {-40, -20, 0, 0, INT_MAX, 1, 20, 1}};
  for (const Case& c : cases) {
    m_list->SetProjection(0);
    m_list->lines.clear();
    m_list->AddRoundRect(c.x1, c.y1, c.x2, c.y2, -3, c.radiusX, c.radiusY, m_color);
    ExpectConnected(true);
    const double x0 = std::min(c.x1, c.x2), x1 = std::max(c.x1, c.x2);
    const double y0 = std::min(c.y1, c.y2), y1 = std::max(c.y1, c.y2);
    double seen[4] = {1e9, -1e9, 1e9, -1e9};
    for (const auto& [a, b, colorA, colorB] : m_list->lines) {
      EXPECT_EQ(a.z, -3);
      seen[0] = std::min<double>(seen[0], a.x), seen[1] = std::max<double>(seen[1], a.x);
      seen[2] = std::min<double>(seen[2], a.y), seen[3] = std::max<double>(seen[3], a.y);
      // In a corner the point lies on its ellipse, elsewhere on a side.
      const double dx = std::max({x0 + c.rx - a.x, a.x - (x1 - c.rx), 0.0});
      const double dy = std::max({y0 + c.ry - a.y, a.y - (y1 - c.ry), 0.0});
      if (c.rx > 0 && dx > 0 && dy > 0) {
        EXPECT_NEAR(std::hypot(dx / c.rx, dy / c.ry), 1, 1e-5);
      }
    }
    EXPECT_NEAR(seen[0], x0, 1e-5);
    EXPECT_NEAR(seen[1], x1, 1e-5);
    EXPECT_NEAR(seen[2], y0, 1e-5);
    EXPECT_NEAR(seen[3], y1, 1e-5);
    if (c.rx == 0 && x1 > x0) {
      EXPECT_EQ(m_list->lines.size(), 4u);
    }
  }
  m_list->AddRoundRect(INT_MIN, INT_MIN, INT_MAX, INT_MAX, 0, INT_MAX, INT_MAX, m_color);
}

TEST_F(ShapesTest, SpheresLieOnTheirRadius) {
  m_info.scaleX = m_info.scaleY = 20;
  m_list->AddTransformedSphere({1, 2, 3}, 5, m_color);
  Vector low{1e9f, 1e9f, 1e9f}, high{-1e9f, -1e9f, -1e9f};
  for (const Recorder::Line& line : m_list->lines) {
    EXPECT_NEAR(Distance(line.a, {1, 2, 3}), 5, 1e-4);
    low = {std::min(low.x, line.a.x), std::min(low.y, line.a.y), std::min(low.z, line.a.z)};
    high = {std::max(high.x, line.a.x), std::max(high.y, line.a.y), std::max(high.z, line.a.z)};
  }
  EXPECT_LT(Distance(low, {-4, -3, -2}), 1e-3);
  EXPECT_LT(Distance(high, {6, 7, 8}), 1e-3);
  m_list->lines.clear();
  m_info.objectToView = m_matrix;
  m_list->AddSphere({1, 0, 0}, 5, m_color);
  for (const Recorder::Line& line : m_list->lines) {
    EXPECT_NEAR(Distance(line.a, {10, 22, 30}), 10, 1e-4);
  }
}

TEST_F(ShapesTest, DegenerateInputIsDrawnOrLeftOut) {
  const float bad[] = {std::numeric_limits<float>::quiet_NaN(),
                       std::numeric_limits<float>::infinity()};
  for (float value : bad) {
    m_list->AddTransformedCircle({value, 0, 0}, 1);
    m_list->AddTransformedCircle({0, 0, 0}, value, m_color);
    m_list->AddCircle({0, 0, 0}, {value, 0, 0}, {0, 1, 0});
    m_list->AddSphere({0, 0, 0}, value, m_color);
    m_list->AddRoundRect(0, 0, 9, 9, value, 2, 2, m_color);
  }
  m_list->AddTransformedCircle({0, 0, 0}, 0);
  EXPECT_TRUE(m_list->lines.empty());
  for (float value : bad) {
    m_info.scaleX = m_info.perspective = value;
    m_info.nearZ = 0;
    m_list->lines.clear();
    m_list->AddTransformedCircle({0, 0, 0}, 1);
    ExpectConnected(true);
    EXPECT_LE(m_list->lines.size(), 1024u);
  }
  m_list->lines.clear();
  m_list->ForgetInfo();
  m_list->AddSphere({0, 0, 0}, 1, m_color);
  EXPECT_FALSE(m_list->lines.empty());
}

TEST_F(ShapesTest, DefaultColourIsOpaqueWhite) {
  const GANativeColor* color = m_list->DefaultColor().Native();
  ASSERT_NE(color, nullptr);
  EXPECT_EQ(color->Red() & color->Green() & color->Blue() & color->Alpha(), 255);
}

}  // namespace
