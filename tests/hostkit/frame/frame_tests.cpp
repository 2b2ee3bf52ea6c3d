// Frames drawn through the module, by their pixels.
#include <gtest/gtest.h>

#include <Imath/half.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "host/GADriver.h"
#include "hostkit/pictures/picture_in.h"
#include "tests/hostkit/frame/frame_fixture.h"
#include "tests/support/common/holds.h"

using Imath::M44f;
using Imath::V3f;

TEST_F(Frames, SphereIsLitFromTheEyeAndCoversItsDisc) {
  hostkit::Scene scene = SceneOf({Material(1, 0, 0)}, Sphere(0));
  auto picture = Render(scene);
  EXPECT_FALSE(picture.hasAlpha);
  Pixel middle = At(picture, 40, 40);
  EXPECT_GT(middle.red, 0.97f);
  EXPECT_EQ(middle.blue, 0);
  Pixel rim = At(picture, 40 + 19, 40);  // 0.975 of the radius
  EXPECT_GT(rim.red, 0.2f);
  EXPECT_LT(rim.red, 0.6f);
  EXPECT_EQ(At(picture, 40 + 21, 40).blue, 1);
  EXPECT_EQ(At(picture, 40, 40 - 21).blue, 1);

  // From inside, or mirrored, the side that is seen is lit just the same.
  scene.instances[0].toWorld = M44f().scale(V3f(-1, 1, 1));
  EXPECT_NEAR(At(Render(scene), 40, 40).red, middle.red, 0.01f);
  hostkit::View inside = FrontView(0.5f);
  inside.nearDistance = 0.1f;
  EXPECT_GT(At(Render(scene, inside), 40, 40).red, 0.97f);
}

// Neighbours go to the renderer as one quad, whichever of their edges they have in common.
TEST_F(Frames, NeighboursLookAsTheyDoApart) {
  hostkit::SceneMesh mesh;
  const V3f corners[] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0.3f}, {0, 1, -0.2f}};
  const std::uint32_t halves[2][3] = {{0, 1, 2}, {2, 3, 0}};
  for (std::uint32_t place = 0; place < 9; ++place) {
    const std::uint32_t first = 4 * place, turns[] = {place / 3, place % 3};
    for (const V3f& corner : corners) {
      const V3f at(static_cast<float>(place / 3), static_cast<float>(place % 3), 0);
      mesh.positions.push_back((at + corner * 0.9f) * 1.2f - V3f(1.8f, 1.8f, 0));
      mesh.normals.push_back(V3f(corner.x - 0.5f, 0.3f - corner.y, 0.4f).normalized());
    }
    for (int half = 0; half < 2; ++half) {
      for (std::uint32_t i = 0; i < 3; ++i) {
        mesh.triangles.push_back(first + halves[half][(i + turns[half]) % 3]);
      }
    }
  }
  hostkit::SceneMesh apart;
  for (std::uint32_t i = 0; i < mesh.triangles.size(); ++i) {
    apart.positions.push_back(mesh.positions[mesh.triangles[i]]);
    apart.normals.push_back(mesh.normals[mesh.triangles[i]]);
    apart.triangles.push_back(i);
  }
  for (const float side : {1.0f, -1.0f}) {  // seen from the front, and from behind
    const M44f turned = M44f().scale(V3f(side, 1, side));
    const auto together = Render(SceneOf({Material(1, 1, 1)}, mesh, turned));
    EXPECT_GT(At(together, 20, 20).red, 0.2f);
    EXPECT_EQ(Different(together, Render(SceneOf({Material(1, 1, 1)}, apart, turned)), 0.01f), 0);
  }
}

TEST_F(Frames, LightSetsShineFromTheirSides) {
  hostkit::Scene scene = SceneOf({Material(1, 1, 1)}, Sphere(0));
  m_settings.lights = hostkit::LightSet::kThreePoint;
  auto picture = Render(scene);
  EXPECT_GT(At(picture, 33, 33).green, At(picture, 40, 54).green + 0.2f);  // the key is upper left
  EXPECT_GT(At(picture, 40, 56).green, 0.2f);                              // no black anywhere

  hostkit::SceneLight light;
  light.type = GALight::kDirectional;
  light.direction = {-1, 0, 0};
  scene.lights = {light};
  m_settings.lights = hostkit::LightSet::kAuto;
  picture = Render(scene);
  EXPECT_GT(At(picture, 57, 40).green, 0.9f);
  EXPECT_NEAR(At(picture, 23, 40).green, 0.25f, 0.02f);  // the ambient light alone

  scene.lights[0].type = GALight::kPoint;
  scene.lights[0].position = {0, 0, 3};
  picture = Render(scene);
  EXPECT_GT(At(picture, 40, 40).green, 0.9f);
}

TEST_F(Frames, GlassBlendsWithWhatIsBehindAndIsHiddenByWhatIsBefore) {
  hostkit::Scene scene =
      SceneOf({Material(1, 0, 0, 0.5f), Material(0, 1, 0), Material(0, 0, 0, 0.5f)}, Square(0),
              At(0, 0, 0));               // glass from -1 to 1
  Add(scene, Square(1), At(-1, 0, -1));   // behind its left half
  Add(scene, Square(1), At(1.5f, 0, 1));  // before its right quarter
  for (auto lights : {hostkit::LightSet::kHeadlight, hostkit::LightSet::kThreePoint}) {
    m_settings.lights = lights;
    auto picture = Render(scene);
    float bright = lights == hostkit::LightSet::kHeadlight ? 1 : 0.8f;
    Pixel behind = At(picture, 30, 40), alone = At(picture, 45, 40), before = At(picture, 57, 40);
    EXPECT_GE(behind.red, 0.5f * bright - 0.02f);
    EXPECT_GE(behind.green, 0.5f * bright - 0.02f);
    EXPECT_NEAR(alone.blue, 0.5f, 0.02f);
    EXPECT_GE(alone.red, 0.5f * bright - 0.02f);
    EXPECT_EQ(before.red, 0);
    EXPECT_GE(before.green, bright - 0.04f);
  }
  // Two panes: the order of feeding does not matter, depth does. Also from behind, where an open
  // surface must not vanish.
  scene.instances = {{0, At(0, 0, 0)}};
  Add(scene, Square(2), At(0, 0, 1));
  m_settings.lights = hostkit::LightSet::kHeadlight;
  for (int i = 0; i < 2; ++i) {
    EXPECT_NEAR(At(Render(scene), 40, 40).red, 0.25f, 0.02f);
    EXPECT_NEAR(At(Render(scene, FrontView(-10)), 40, 40).red, 0.5f, 0.02f);
    std::swap(scene.instances[0], scene.instances[1]);
  }
}

TEST_F(Frames, TransparentBackgroundGivesTrueCoverage) {
  hostkit::Scene scene =
      SceneOf({Material(1, 0, 0, 0.5f), Material(0, 0, 0)}, Sphere(0), At(-1, 0, 0));
  Add(scene, Sphere(1), At(1, 0, 0));
  m_settings.transparentBackground = true;
  m_settings.samplesPerSide = 2;
  auto picture = Render(scene);
  EXPECT_TRUE(picture.hasAlpha);
  Pixel glass = At(picture, 20, 40), solid = At(picture, 60, 40), nothing = At(picture, 2, 2);
  EXPECT_NEAR(glass.alpha, 0.5f, 0.01f);
  EXPECT_NEAR(glass.red, 0.5f, 0.02f);  // premultiplied
  EXPECT_EQ(solid.alpha, 1);            // black, the colour of the first background
  EXPECT_EQ(solid.red, 0);
  EXPECT_EQ(nothing.alpha, 0);
}

TEST_F(Frames, WhatItsOwnLightsLeaveDarkIsFilled) {
  hostkit::Scene scene = SceneOf({Material(1, 1, 1)}, Square(0));
  hostkit::SceneLight light;
  light.type = GALight::kDirectional;
  scene.lights = {light};
  const auto render = [&](hostkit::LightSet lights) {
    m_settings.lights = lights;
    return Render(scene);
  };
  scene.lights[0].direction = {0.6f, 0, -0.8f};  // from the viewer's side: 0.8 of full light
  EXPECT_EQ(Different(render(hostkit::LightSet::kAuto), render(hostkit::LightSet::kScene), 0), 0);
  scene.lights[0].direction = {0, 0, 1};  // from behind
  const auto filled = render(hostkit::LightSet::kAuto);
  EXPECT_EQ(Different(filled, render(hostkit::LightSet::kThreePoint), 0), 0);
  EXPECT_GT(Different(filled, render(hostkit::LightSet::kScene), 0.4f), 1000);
  g_maxSurface = 50;  // tiles, most of which do not show the middle
  EXPECT_EQ(Different(filled, render(hostkit::LightSet::kAuto), 0), 0);
  // Half way between what is black, 2 percent, and what is bright enough, 15.
  EXPECT_NEAR(hostkit::FillFor(0.085f), 0.5f, 1e-5f);
  EXPECT_EQ(hostkit::FillFor(0.01f), 1);
  EXPECT_EQ(hostkit::FillFor(0.16f), 0);
}

TEST_F(Frames, EdgesAreSmoothAndLinesKeepTheirWidth) {
  hostkit::Scene scene = SceneOf({Material(1, 1, 1)}, Square(0), M44f().rotate(V3f(0, 0, 0.1f)));
  hostkit::SceneMesh lines;
  lines.positions = {V3f(-1.8f, 1.6f, 2), V3f(1.8f, 1.6f, 2), V3f(-1.6f, -1.6f, 2)};
  lines.lines = {0, 1};
  lines.points = {2};
  Add(scene, lines);
  std::fill_n(m_settings.background, 3, 0.0f);
  for (int samples : {1, 2, 4}) {
    m_settings.samplesPerSide = samples;
    auto picture = Render(scene);
    int partial = 0;
    float line = 0, point = 0;
    for (int y = 0; y < 80; ++y) {
      for (int x = 0; x < 80; ++x) {
        float value = At(picture, x, y).red;
        if (x > 15 && x < 65 && y > 15 && y < 65 && value > 0.05f && value < 0.95f) ++partial;
        if (x < 20 && y > 65) point += value;
      }
      if (y < 15) line += At(picture, 40, y).red;
    }
    EXPECT_EQ(partial > 60, samples > 1) << samples;
    EXPECT_NEAR(line, 1, 0.02f) << samples;
    EXPECT_NEAR(point, 1, 0.02f) << samples;
  }
}

// By the calls: the fixture has them checked.
TEST_F(Frames, AFrameThatIsGivenUpEndsInItsOwnContext) {
  const hostkit::Scene scene = SceneOf({Material(1, 0, 0)}, Sphere(0));
  std::string error;
  const auto renderer = hostkit::FrameRenderer::Create(s_module->Driver(), scene, &error);
  ASSERT_NE(renderer, nullptr) << error;
  renderer->SetPause([&] {
    EXPECT_GT(At(Render(scene), 40, 40).red, 0.9f);  // what it gives way to draws elsewhere
    return false;
  });
  EXPECT_EQ(renderer->Render(m_settings, FrontView(), &error).bitmap, nullptr);
}

TEST_F(Frames, TilesAreSeamless) {
  hostkit::Scene scene = SceneOf({Material(1, 0.5f, 0.2f), Material(0.2f, 0.5f, 1, 0.4f)},
                                 Sphere(0), At(0.3f, 0.1f, -4));
  Add(scene, Sphere(1), At(-0.5f, -0.2f, -3));
  const hostkit::View view = EyeView(0.5f, 0.5f, 10);
  m_settings.width = 83;
  m_settings.height = 61;
  m_settings.samplesPerSide = 2;
  m_settings.lights = hostkit::LightSet::kThreePoint;
  auto whole = Render(scene, view);
  g_maxSurface = 50;  // 25 pixels: four by three tiles, the last ones cut off
  auto tiled = Render(scene, view);
  EXPECT_EQ(Different(whole, tiled, 0.3f), 0);  // a sample of four may fall to the other side
  EXPECT_LT(Different(whole, tiled, 0.02f), 10);
}

TEST_F(Frames, PixelsAreTheMeansOfTheirSamples) {
  const hostkit::Scene scene = SceneOf({Material(1, 0.5f, 0.2f)}, Sphere(0), At(0.3f, 0.1f, -4));
  const hostkit::View view = EyeView(0.5f, 0.5f, 10);
  for (const int side : {2, 3, 4}) {
    m_settings.width = 23;
    m_settings.height = 17;
    m_settings.samplesPerSide = side;
    const auto picture = Render(scene, view);
    m_settings.width *= side;
    m_settings.height *= side;
    m_settings.samplesPerSide = 1;
    const auto samples = Render(scene, view);
    for (int i = 0; i < 23 * 17; ++i) {
      const int x = i % 23, y = i / 23;
      float red = 0, blue = 0;
      for (int k = 0; k < side * side; ++k) {
        const Pixel sample = At(samples, x * side + k % side, y * side + k / side);
        ASSERT_EQ(sample.red, half(std::round(sample.red * 255) / 255)) << "of a byte";
        red += sample.red;
        blue += sample.blue;
      }
      const auto count = static_cast<float>(side * side);
      const Pixel mean = At(picture, x, y);
      ASSERT_EQ(mean.red, half(red / count)) << side << ": " << x << ", " << y;
      ASSERT_EQ(mean.blue, half(blue / count)) << side << ": " << x << ", " << y;
      ASSERT_EQ(mean.alpha, 1) << side << ": " << x << ", " << y;
    }
  }
}

TEST_F(Frames, VertexColorsAreLit) {
  // More triangles than 16-bit indices reach at once.
  hostkit::Scene scene = SceneOf({Material(1, 1, 1)}, Sphere(0, 88));
  m_settings.lights = hostkit::LightSet::kThreePoint;
  scene.materials[0].surface.roughness = AnimatableValue(3.0f);
  scene.materials[0].surface.specularFactor = AnimatableValue(0.5f);
  scene.materials[0].surface.specularSource = AttrProperty::kFromBaseColor;
  auto plain = Render(scene);
  // Nearly white: lit on the processor, and the same to the eye as what OpenGL lights.
  scene.meshes[0].colors.assign(scene.meshes[0].positions.size(), {255, 255, 255, 255});
  scene.meshes[0].colors[0] = {254, 255, 255, 255};
  auto colored = Render(scene);
  for (int i = 24; i < 57; ++i) {
    EXPECT_NEAR(At(plain, i, 40).green, At(colored, i, 40).green, 0.03f) << i;
    EXPECT_NEAR(At(plain, 40, i).green, At(colored, 40, i).green, 0.03f) << i;
  }

  // Colours run from vertex to vertex, with a texture and with alpha as well.
  hostkit::SceneMesh square = Square(0);
  square.colors = {{255, 0, 0, 255}, {0, 255, 0, 255}, {255, 0, 0, 255}, {0, 255, 0, 255}};
  scene.meshes = {square};
  scene.materials = {Material(1, 1, 1)};
  m_settings.lights = hostkit::LightSet::kHeadlight;
  const unsigned char texel[] = {128, 128, 128, 255};
  PutPicture(scene, hostkit::BitmapFromRgba(texel, 1, 1));
  for (int textured = 0; textured < 2; ++textured) {
    scene.materials[0].image = textured - 1;
    float bright = textured ? 0.5f : 1;
    auto picture = Render(scene);
    EXPECT_NEAR(At(picture, 25, 40).red, 0.86f * bright, 0.04f);
    EXPECT_NEAR(At(picture, 54, 40).green, 0.86f * bright, 0.04f);
  }
  scene.materials[0].image = -1;
  for (ColorBuf& color : scene.meshes[0].colors) color.alpha = 128;
  scene.meshes[0].colorsHaveAlpha = true;
  auto picture = Render(scene);
  EXPECT_NEAR(At(picture, 25, 40).red, 0.43f, 0.03f);
  EXPECT_NEAR(At(picture, 25, 40).blue, 0.5f, 0.02f);
}

TEST_F(Frames, TexturesLieTheRightWayAndCutOut) {
  hostkit::Scene scene = SceneOf({Material(1, 1, 1)}, Square(0));
  // Row 0, at v = 0 and so at the bottom of the square: red, green. Above: blue, clear.
  const unsigned char quarters[4][4] = {
      {255, 0, 0, 255}, {0, 255, 0, 255}, {0, 0, 255, 255}, {0, 0, 0, 0}};
  unsigned char texels[8][8][4];
  for (int i = 0; i < 64; ++i) {
    std::copy_n(quarters[i / 32 * 2 + i % 8 / 4], 4, texels[i / 8][i % 8]);
  }
  PutPicture(scene, hostkit::BitmapFromRgba(texels[0][0], 8, 8));
  scene.images[0].wrapU = scene.images[0].wrapV = hostkit::PictureWrap::kClamp;
  std::fill_n(m_settings.background, 3, 1.0f);
  auto picture = Render(scene);
  EXPECT_GT(At(picture, 22, 57).red, At(picture, 22, 57).green + 0.9f);
  EXPECT_GT(At(picture, 57, 57).green, At(picture, 57, 57).red + 0.9f);
  EXPECT_GT(At(picture, 22, 22).blue, At(picture, 22, 22).red + 0.9f);
  EXPECT_GT(At(picture, 57, 22).red, 0.97f);  // the background
}

TEST_F(Frames, ImpossibleRequestsAreRefused) {
  hostkit::Scene scene = SceneOf({Material(1, 1, 1)}, Square(0));
  std::string error;
  auto renderer = hostkit::FrameRenderer::Create(s_module->Driver(), scene, &error);
  ASSERT_TRUE(renderer);
  for (int width : {0, -5, 32769}) {
    m_settings.width = width;
    EXPECT_FALSE(renderer->Render(m_settings, FrontView(), &error).bitmap);
    EXPECT_TRUE(Holds(error, {std::to_string(width) + "x80", "32768"}));
  }
  m_settings.width = 80;
  m_settings.samplesPerSide = 5;
  EXPECT_FALSE(renderer->Render(m_settings, FrontView(), &error).bitmap);
  m_settings.samplesPerSide = 1;
  EXPECT_TRUE(renderer->Render(m_settings, FrontView(), &error).bitmap) << error;

  scene.meshes[0].triangles.back() = 4;
  EXPECT_FALSE(hostkit::FrameRenderer::Create(s_module->Driver(), scene, &error));
  EXPECT_FALSE(hostkit::FrameRenderer::Create(nullptr, scene, &error));
}
