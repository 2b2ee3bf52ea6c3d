// What stands around a model: fog, the grid on the ground, and how far away things are.
#include <algorithm>
#include <cmath>
#include <utility>

#include "host/GADriver.h"
#include "hostkit/feed/seen_surfaces.h"
#include "hostkit/frame/ground_grid.h"
#include "tests/hostkit/frame/frame_fixture.h"

using Imath::M44f;
using Imath::V3f;

namespace {

float DepthAt(const hostkit::Picture& picture, int x, int y) {
  const HBitmapBuffer* depths = picture.bitmap->FindBuffer("Depth");
  return static_cast<const float*>(depths->Data())[y * depths->RowStep() + x];
}

// Half a unit from the near plane, a small model's view: 40 degrees high.
hostkit::View NearView() {
  return EyeView(3, 0.5f, 8);
}

}  // namespace

TEST_F(Frames, FogThickensWithTheDistanceAndGoes) {
  hostkit::Scene scene = SceneOf({Material(0, 0, 0)}, Square(0), At(0, 0, 1.25f));
  std::fill_n(m_settings.fog.color, 3, 1.0f);
  m_settings.fog.on = true;
  std::string error;
  const auto renderer = hostkit::FrameRenderer::Create(s_module->Driver(), scene, &error);
  ASSERT_TRUE(renderer) << error;
  const auto seen = [&] {
    return At(renderer->Render(m_settings, NearView(), &error), 40, 40).red;
  };
  // The square is 1.75 away. Distances of less than a unit count.
  m_settings.fog.nearDistance = 1.5f;
  m_settings.fog.farDistance = 2.5f;
  EXPECT_NEAR(seen(), 0.25f, 0.01f);
  m_settings.fog.exponential = true;
  for (float density : {0.2f, 1.0f, 3.0f}) {
    m_settings.fog.density = density;
    EXPECT_NEAR(seen(), 1 - std::exp(-density * 1.75f), 0.02f) << density;
  }
  m_settings.fog.exponential = false;
  m_settings.fog.nearDistance = 0;
  for (float far : {1e-20f, 1e30f}) {
    m_settings.fog.farDistance = far;
    EXPECT_EQ(seen(), far < 1) << far;
  }
  m_settings.fog.on = false;
  EXPECT_EQ(seen(), 0);

  // Lights stand where they stood, whatever fog counts its distances in.
  hostkit::SceneLight light;
  light.type = GALight::kPoint;
  light.position = {0.5f, 0, 2};
  light.range = 2;
  scene.lights = {light};
  scene.materials = {Material(0.5f, 0.5f, 0.5f)};
  m_settings.lights = hostkit::LightSet::kScene;
  const float clear = At(Render(scene, NearView()), 45, 40).red;
  m_settings.fog.on = true;
  m_settings.fog.exponential = false;
  m_settings.fog.nearDistance = 7;
  m_settings.fog.farDistance = 9;
  EXPECT_NEAR(At(Render(scene, NearView()), 45, 40).red, clear, 0.01f);
}

TEST_F(Frames, TheGridLiesUnderTheModel) {
  EXPECT_FLOAT_EQ(hostkit::GridSpacingFor(1), 0.05f);
  EXPECT_FLOAT_EQ(hostkit::GridSpacingFor(2.4f), 0.1f);
  EXPECT_FLOAT_EQ(hostkit::GridSpacingFor(480), 20);
  EXPECT_FLOAT_EQ(hostkit::GridSpacingFor(9), 0.5f);
  EXPECT_FLOAT_EQ(hostkit::GridSpacingFor(0), 1);
  // Far from the middle of the world: where steps are lost on floats, and on doubles, too.
  for (const auto& [place, spacing] : {std::pair{20000.0f, 0.001f}, {3e7f, 0.0f}, {1e20f, 0.5f}}) {
    const V3f corner(place, 0, place);
    hostkit::GridLines lines;
    lines.Build({true, spacing}, {corner, corner + V3f(1)});
    const bool any = lines.Reach(FrontView()).farDistance > FrontView().farDistance;
    EXPECT_EQ(any, place < 1e20f) << place;
  }

  hostkit::Scene scene =
      SceneOf({Material(0, 1, 0)}, Square(0), M44f().scale(V3f(0.5f)) * At(0, 0.5f, 0));  // upright
  Add(scene, Square(0), M44f().rotate(V3f(1.5708f, 0, 0)) * M44f().scale(V3f(0.2f, 1, 0.2f)));
  hostkit::View above;  // a pixel is 0.05, and the planes hold the model alone
  above.camera.eye = {0, 10, 0};
  above.camera.forward = {0, -1, 0};
  above.camera.up = {0, 0, -1};
  above.camera.parallelHeight = 4;
  above.nearDistance = 8.9f;
  above.farDistance = 9.9f;
  m_settings.grid = {true, 0.5f};
  std::fill_n(m_settings.background, 3, 0.0f);
  for (int samples : {1, 2}) {
    m_settings.samplesPerSide = samples;
    for (int side : {8192, 60}) {
      g_maxSurface = side;
      auto picture = Render(scene, above);
      float across = 0;  // between two lines, from one of the z axis's side to the next
      for (int x = 46; x < 56; ++x) across += At(picture, x, 45).green;
      EXPECT_NEAR(across, 128 / 255.0f, 0.05f) << samples;
      float red = 0, blue = 0;
      for (int i = 30; i < 50; ++i) {
        red += At(picture, 55, i).red - At(picture, 55, i).blue;
        blue += At(picture, i, 55).blue - At(picture, i, 55).red;
      }
      EXPECT_NEAR(red, 0.59f, 0.05f) << "the x axis";
      EXPECT_NEAR(blue, 0.59f, 0.05f) << "the z axis";
      EXPECT_GT(At(picture, 40, 40).green, 0.9f) << "the model covers it";
    }
  }
}

TEST_F(Frames, TheGridFollowsWhatIsUpAndTheOriginOfTheFile) {
  hostkit::Scene scene =
      SceneOf({Material(0, 0, 0)}, Square(0), M44f().scale(V3f(0.2f)) * At(1.2f, 1.2f, 0.1f));
  std::fill_n(m_settings.background, 3, 0.0f);
  m_settings.grid = {true, 0.5f};
  m_settings.upAxis = hostkit::UpAxis::kPlusZ;
  // From above, the x axis to the right: a pixel is 0.05, so that a point (x, y) is at 40 + 20 x.
  // The bounds' middle, 1.2, with half as far again as 0.4 around it lies within the lines 0.5
  // to 2.
  scene.origin = {-1, -1.25, 0};  // the file's axes are at x = 1 and y = 1.25 of the scene
  const auto picture = Render(scene);
  const auto most = [&](int x, int y, float Pixel::*channel, float Pixel::*other) {
    float found = 0;  // pixel edges may fall to either side
    for (int i = -1; i <= 1; ++i) {
      const Pixel across = At(picture, x + i, y), along = At(picture, x, y + i);
      found = std::max({found, across.*channel - across.*other, along.*channel - along.*other});
    }
    return found;
  };
  EXPECT_NEAR(most(60, 30, &Pixel::green, &Pixel::red), 90 / 255.0f, 0.01f) << "the y axis";
  EXPECT_NEAR(most(75, 15, &Pixel::red, &Pixel::green), 150 / 255.0f, 0.01f) << "the x axis";
}

TEST_F(Frames, DepthIsTheDistanceAtPixelCentres) {
  const M44f turn = M44f().rotate(V3f(0.5f, 1.1f, 0));
  V3f n;  // the square's normal
  turn.multDirMatrix(V3f(0, 0, 1), n);
  hostkit::Scene scene = SceneOf({Material(1, 1, 1), Material(1, 1, 1, 0.5f)}, Square(0),
                                 M44f().scale(V3f(0.8f)) * turn);
  Add(scene, Square(1), M44f().scale(V3f(0.2f)) * At(0, 0.5f, 1));  // glass
  hostkit::SceneMesh line;
  line.positions = {V3f(-1, -0.9f, 0), V3f(1, -0.9f, 1), V3f(0.02f, -1.22f, -1)};
  line.lines = {0, 1};
  line.points = {2};
  Add(scene, line);
  for (const hostkit::View& view : {NearView(), FrontView(3)}) {
    const bool isParallel = view.camera.parallelHeight > 0;
    const float slope = isParallel ? 0.05f : std::tan(0.35f) / 40;  // of a pixel, at distance 1
    m_settings.depth = true;
    m_settings.samplesPerSide = 2;
    for (int side : {8192, 50}) {
      g_maxSurface = side;
      m_settings.fog.on = side == 50;  // another unit of the view; the same distances
      auto picture = Render(scene, view);
      for (int x = 35; x < 44; ++x) {
        // The square: n * place = 0. Perspective: place = (right t, up t, 3 - t), at distance t.
        const float right = (static_cast<float>(x) - 39.5f) * slope;
        const float up = (36.5f - static_cast<float>(x)) * slope;
        const float sum = n.x * right + n.y * up;
        const float expected = isParallel ? 3 + sum / n.z : 3 * n.z / (n.z - sum);
        EXPECT_NEAR(DepthAt(picture, x, x + 3), expected, 1e-4f) << x;
      }
      EXPECT_EQ(DepthAt(picture, 2, 2), hostkit::kNothingSeen);
      EXPECT_NEAR(DepthAt(picture, 40, isParallel ? 30 : 12), 2, 1e-5f) << "glass";
      int lines = 0, points = 0;
      for (int y = 50; y < 80; ++y) {
        for (int x = 0; x < 80; ++x) {
          const float depth = DepthAt(picture, x, y);
          points += depth == 4;
          lines += depth >= 2 && depth <= 3;
        }
      }
      EXPECT_GT(lines, 25);
      EXPECT_EQ(points, 1);
    }
  }
}
