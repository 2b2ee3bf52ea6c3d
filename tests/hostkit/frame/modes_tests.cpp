// Ways to draw: what each shows, by pixels.
#include <algorithm>
#include <cmath>
#include <numbers>
#include <set>
#include <tuple>

#include "hostkit/feed/mesh_edges.h"
#include "hostkit/feed/point_size.h"
#include "hostkit/pictures/picture_in.h"
#include "tests/hostkit/frame/frame_fixture.h"

using hostkit::DrawMode;
using Imath::M44f;
using Imath::V3f;

namespace {

// A cube from -1 to 1 whose faces have vertices of their own, a hair apart from their neighbours'.
hostkit::SceneMesh Cube(int material) {
  hostkit::SceneMesh cube;
  cube.material = material;
  constexpr float kQuarter = 1.5707963f;
  const V3f turns[] = {{0, 0, 0},         {0, kQuarter, 0}, {0, 2 * kQuarter, 0},
                       {0, -kQuarter, 0}, {kQuarter, 0, 0}, {-kQuarter, 0, 0}};
  const hostkit::SceneMesh square = Square(material);
  for (const V3f& turn : turns) {
    const M44f side = M44f().rotate(turn);
    const auto first = static_cast<std::uint32_t>(cube.positions.size());
    for (const V3f& p : square.positions) {
      cube.positions.push_back((p + V3f(0, 0, 1)) * side);
      V3f normal;
      side.multDirMatrix(V3f(0, 0, 1), normal);
      cube.normals.push_back(normal);
    }
    for (std::uint32_t index : square.triangles) cube.triangles.push_back(first + index);
  }
  return cube;
}

int CountPixels(const hostkit::Picture& picture, int size, bool (*counts)(const Pixel&)) {
  int count = 0;
  for (int i = 0; i < size * size; ++i) count += counts(At(picture, i % size, i / size));
  return count;
}

bool IsRed(const Pixel& pixel) {
  return pixel.red > 0.5f && pixel.blue < 0.5f;
}

}  // namespace

TEST(MeshEdges, AreFoundOnceAcrossSeams) {
  const std::vector<hostkit::MeshEdge> edges = hostkit::FindEdges(Cube(0));
  int flat = 0, sharp = 0;
  for (const hostkit::MeshEdge& edge : edges) {
    ASSERT_GE(edge.right, 0);
    EXPECT_TRUE(edge.oppositeWinding);
    flat += edge.cosine > 0.999f;
    sharp += std::abs(edge.cosine) < 0.001f;
  }
  EXPECT_EQ(flat, 6);    // the diagonals
  EXPECT_EQ(sharp, 12);  // the cube's

  // Turned the wrong way round, a neighbour is as flat as before. A third neighbour makes none.
  hostkit::SceneMesh square = Square(0);
  std::swap(square.triangles[1], square.triangles[2]);
  const auto diagonal = [](const std::vector<hostkit::MeshEdge>& all) {
    return *std::find_if(all.begin(), all.end(), [](const auto& e) { return e.a + e.b == 3; });
  };
  hostkit::MeshEdge shared = diagonal(hostkit::FindEdges(square));
  EXPECT_FALSE(shared.oppositeWinding);
  EXPECT_GT(shared.cosine, 0.999f);
  square.positions.push_back(V3f(0, 0, 1));
  square.triangles.insert(square.triangles.end(), {0, 3, 4, 1, 1, 1});
  EXPECT_EQ(diagonal(hostkit::FindEdges(square)).right, -1);
  EXPECT_TRUE(hostkit::FindEdges({}).empty());
}

TEST_F(Frames, FlatTrianglesHaveOneColor) {
  m_settings.mode = DrawMode::kFlat;
  hostkit::Scene scene = SceneOf({Material(1, 1, 1)}, Square(0));
  // Smooth normals and colours would run over the square.
  scene.meshes[0].normals = {V3f(-1, 0, 0), V3f(1, 0, 0), V3f(0, 1, 0), V3f(0, 0, 1)};
  scene.meshes[0].colors = {{0, 0, 0, 255}, {150, 0, 0, 255}, {0, 150, 0, 255}, {0, 0, 0, 255}};
  auto picture = Render(scene);
  for (int i = 0; i < 15; ++i) {
    const Pixel below = At(picture, 57 - i, 57), above = At(picture, 22, 22 + i);
    EXPECT_NEAR(below.red, 60 / 255.0f, 0.004f);  // the corners' mean, 50, with ambient light
    EXPECT_EQ(below.green, 0);
    EXPECT_NEAR(above.green, 60 / 255.0f, 0.004f);
    EXPECT_EQ(above.red, 0);
  }
  // A picture counts with its mean, here of a half that is black, and glass lets through.
  scene.meshes[0].colors.clear();
  unsigned char texels[8][8][4] = {};
  for (auto& row : texels) {
    for (int x = 0; x < 8; ++x) std::fill_n(row[x], 4, x < 4 ? 0 : 255);
    for (int x = 0; x < 4; ++x) row[x][3] = 255;
  }
  PutPicture(scene, hostkit::BitmapFromRgba(texels[0][0], 8, 8));
  picture = Render(scene);
  EXPECT_NEAR(At(picture, 57, 57).red, 0.75f, 0.1f);
  EXPECT_NEAR(At(picture, 22, 22).red, 0.3f, 0.1f);
  scene.materials[0] = Material(1, 0, 0, 0.5f);
  picture = Render(scene);
  EXPECT_NEAR(At(picture, 40, 40).red, 0.5f, 0.02f);
  EXPECT_NEAR(At(picture, 40, 40).blue, 0.5f, 0.02f);
}

TEST_F(Frames, WireframeShowsEveryEdgeAPixelWide) {
  m_settings.mode = DrawMode::kWireframe;
  hostkit::Scene scene =
      SceneOf({Material(1, 0, 0), Material(0, 1, 0)}, Square(0), M44f().rotate(V3f(0, 0, 0.2f)));
  Add(scene, Square(1), At(0, 0.5f, -2));  // behind: nothing hides it
  for (int samples : {1, 2, 4}) {
    m_settings.samplesPerSide = samples;
    auto picture = Render(scene);
    float upper = 0, behind = 0;
    for (int y = 0; y < 25; ++y) upper += At(picture, 33, y).red;
    for (int y = 45; y < 55; ++y) behind += At(picture, 50, y).green;
    EXPECT_NEAR(upper, 1, 0.05f) << samples;
    EXPECT_NEAR(behind, 1, 0.05f) << samples;
    EXPECT_LT(At(picture, 30, 30).red, 0.1f);  // beside the diagonal: not filled
  }
  m_settings.lineColor = ColorBuf{255, 255, 0, 255};
  EXPECT_GT(CountPixels(Render(scene), 80, [](const Pixel& p) { return p.green > 0.5f; }), 150);
}

TEST_F(Frames, LinesShowTheFormAndHideWhatIsBehind) {
  m_settings.mode = DrawMode::kLines;
  m_settings.lineColor = ColorBuf{255, 0, 0, 255};
  hostkit::Scene scene = SceneOf({Material(1, 1, 1)}, Cube(0), M44f().rotate(V3f(0, 0.4f, 0)));
  const auto across = [](const hostkit::Picture& picture) {
    float sum = 0;
    for (int x = 0; x < 80; ++x) sum += At(picture, x, 45).red;
    return sum;
  };
  for (float fogFar : {0.0f, 12.0f}) {
    m_settings.fog.on = fogFar > 0;
    m_settings.fog.farDistance = 100 * fogFar;  // hardly any, but white
    std::fill_n(m_settings.fog.color, 3, 1.0f);
    for (int samples : {1, 2, 4}) {
      m_settings.samplesPerSide = samples;
      auto picture = Render(scene);
      // Two silhouettes and the vertical edge between the faces that are seen; neither the hidden
      // edge nor the diagonals.
      EXPECT_NEAR(across(picture), 3, 0.3f) << samples;
      EXPECT_EQ(At(picture, 30, 30).blue, 1) << "filled with the background, fog or not";
    }
  }
  m_settings.fog = {};
  m_settings.samplesPerSide = 1;
  m_settings.creaseDegrees = 95;  // none of the cube's, but its outline
  EXPECT_NEAR(across(Render(scene)), 2, 0.2f);

  // A ball has nothing but an outline, and is as clear as the background inside.
  scene.instances.clear();
  Add(scene, Sphere(0));
  Add(scene, Square(0), M44f().scale(V3f(0.5f)) * At(0, 0, -2));
  m_settings.transparentBackground = true;
  m_settings.creaseDegrees = 30;
  const auto picture = Render(scene);
  EXPECT_EQ(At(picture, 40, 30).alpha, 0);  // the square's edge is hidden
  EXPECT_EQ(At(picture, 40, 40).alpha, 0);
  const int drawn = CountPixels(picture, 80, [](const Pixel& p) { return p.alpha > 0.5f; });
  EXPECT_GT(drawn, 100);
  EXPECT_LT(drawn, 220);
}

TEST_F(Frames, PointsShowEveryVertexAsWideAsAsked) {
  m_settings.mode = DrawMode::kPoints;
  std::fill_n(m_settings.background, 3, 0.0f);
  hostkit::Scene scene = SceneOf({Material(1, 0, 0)}, Square(0), At(0.02f, 0.02f, 0));
  for (int size : {1, 2, 5}) {
    for (int samples : {1, 3}) {
      m_settings.pointSize = size;
      m_settings.samplesPerSide = samples;
      auto picture = Render(scene);
      float sum = 0;
      for (int i = 0; i < 1600; ++i) sum += At(picture, i % 40, i / 40).red;
      // A disc where samples smooth it.
      const float share = size > 2 && samples > 1 ? std::numbers::pi_v<float> / 4 : 1;
      EXPECT_NEAR(sum, share * static_cast<float>(size * size), 0.08f * static_cast<float>(size))
          << size << ", " << samples;
    }
  }
}

TEST(PointSize, FillsTheSpacingWithinLimits) {
  const hostkit::Scene scene = SceneOf({}, Square(0), At(9, 6, 12));
  const hostkit::PointSpread spread = hostkit::SpreadOfVertices(scene, scene.Bounds());
  EXPECT_NEAR(spread.spacing, 1, 1e-5f);  // the root of 4 square units for 4
  hostkit::View view = EyeView(212, 1, 300);
  view.camera.eye += V3f(9, 6, 0);
  view.camera.verticalFov = 2 * std::atan(0.5f);  // 200 units are seen, 200 away
  EXPECT_NEAR(hostkit::PointSizeFor(spread, view, 720), 1.4f * 3.6f, 1e-3f);
  EXPECT_EQ(hostkit::PointSizeFor(spread, view, 100), 1);
  view.camera.parallelHeight = 20;
  EXPECT_NEAR(hostkit::PointSizeFor(spread, view, 720), 7.2f, 1e-5f) << "a hundredth of the height";
  EXPECT_EQ(hostkit::PointSizeFor({}, view, 100), 3) << "a single point";
  EXPECT_EQ(hostkit::MarkerSizeFor({}, view, 100), 3) << "a single point";
  EXPECT_EQ(hostkit::MarkerSizeFor(spread, view, 720), 3);
  view.camera.parallelHeight = 200;
  EXPECT_NEAR(hostkit::MarkerSizeFor(spread, view, 1800), 9.0f / 6, 1e-3f);
  EXPECT_EQ(hostkit::MarkerSizeFor(spread, view, 50), 0.5f);
}

TEST_F(Frames, EdgesLieOverTheirSurfacesAndNothingElse) {
  hostkit::Scene scene = SceneOf({Material(1, 0, 0), Material(0, 0, 1)}, Square(0));
  Add(scene, Square(1), At(0.4f, 0, -3));  // behind; a part of it looks out on the right
  for (const DrawMode mode : {DrawMode::kShaded, DrawMode::kFlat}) {
    m_settings.mode = mode;
    m_settings.showsEdges = false;
    const auto plain = Render(scene);
    m_settings.showsEdges = true;
    const auto edged = Render(scene);
    const auto isBlack = [&](int x, int y) {
      return At(edged, x, y).red + At(edged, x, y).green + At(edged, x, y).blue < 0.05f;
    };
    int changed = 0, red = 0;
    for (int i = 0; i < 80 * 80; ++i) {
      const int x = i % 80, y = i / 80;
      if (isBlack(x, y) != (At(plain, x, y).red + At(plain, x, y).blue < 0.05f)) ++changed;
      red += IsRed(At(edged, x, y));
    }
    EXPECT_GT(changed, 150);  // about four sides and a diagonal of 40 pixels each
    EXPECT_LT(changed, 330);
    EXPECT_GT(red, 1200);  // what is hidden has no edges in front
    EXPECT_TRUE(isBlack(39, 40) || isBlack(40, 40) || isBlack(40, 39) || isBlack(39, 39));
  }
  m_settings.lineColor = ColorBuf{0, 255, 0, 255};
  EXPECT_GT(CountPixels(Render(scene), 80, [](const Pixel& p) { return p.green > 0.9f; }), 150);
}

TEST_F(Frames, MarkersStandOnAllVertices) {
  hostkit::Scene scene = SceneOf({Material(0, 1, 0)}, Sphere(0, 8));
  m_settings.controlPointSize = 2;
  m_settings.controlPointColor = {255, 0, 0, 255};
  for (const hostkit::View& view : {FrontView(), EyeView(4, 2, 6)}) {
    g_maxSurface = 8192;
    m_settings.samplesPerSide = 2;
    auto whole = Render(scene, view);
    EXPECT_TRUE(IsRed(At(whole, 40, 40)));  // the ring's vertex that faces the eye
    const int red = CountPixels(whole, 80, IsRed);
    EXPECT_GT(red, 300);  // some fifty of four by four pixels, those behind hidden
    EXPECT_LT(red, 1100);
    g_maxSurface = 50;  // a seam through the middle: markers are cut, not lost
    EXPECT_LT(Different(whole, Render(scene, view), 0.5f), 12);
    m_settings.controlPointSize = hostkit::kSizeBySpacing;
    const int few = CountPixels(Render(scene, view), 80, IsRed);
    EXPECT_GT(few, 20);
    EXPECT_LT(few, red * 7 / 10);  // three pixels wide: a third of the way to the next
    m_settings.controlPointSize = 2;
  }
}
