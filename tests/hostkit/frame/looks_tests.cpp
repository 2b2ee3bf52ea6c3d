// What materials say beside their colours: unlit, single-sided, cut out by alpha, shining.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "hostkit/frame/backdrop.h"
#include "hostkit/pictures/picture_in.h"
#include "hostkit/services/pixel_values.h"
#include "tests/hostkit/frame/frame_fixture.h"

using hostkit::DrawMode;
using Imath::M44f;
using Imath::V3f;

namespace {

using Rgb8 = std::array<int, 3>;

Rgb8 BytesAt(const hostkit::Picture& picture, int x, int y) {
  const Pixel pixel = At(picture, x, y);
  return {hostkit::ToByte(pixel.red), hostkit::ToByte(pixel.green), hostkit::ToByte(pixel.blue)};
}

hostkit::BitmapPtr Texels(std::vector<ColorBuf> texels, int width) {
  return hostkit::BitmapFromRgba(&texels[0].red, width, static_cast<int>(texels.size()) / width);
}

hostkit::SceneMaterial ByteMaterial(int red, int green, int blue) {
  return Material(static_cast<float>(red) / 255, static_cast<float>(green) / 255,
                  static_cast<float>(blue) / 255);
}

void SetEmission(hostkit::SceneMaterial& material, float red, float green, float blue) {
  std::copy_n(std::array{red, green, blue}.data(), 3, material.emission);
}

}  // namespace

TEST_F(Frames, UnlitSurfacesHaveTheirColorExactly) {
  hostkit::Scene scene = SceneOf({ByteMaterial(51, 102, 204)}, Square(0), M44f().rotate(V3f(1)));
  scene.materials[0].isUnlit = true;
  SetEmission(scene.materials[0], 1, 1, 1);  // no light at all counts
  scene.materials[0].surface.roughness = AnimatableValue(2.0f);
  scene.materials[0].surface.specularFactor = AnimatableValue(1.0f);
  m_settings.lights = hostkit::LightSet::kThreePoint;
  for (const DrawMode mode : {DrawMode::kShaded, DrawMode::kFlat}) {
    m_settings.mode = mode;
    scene.meshes[0].colors.clear();
    scene.materials[0].image = -1;
    EXPECT_EQ(BytesAt(Render(scene), 40, 40), (Rgb8{51, 102, 204}));
    scene.meshes[0].colors.assign(4, {255, 128, 0, 255});
    EXPECT_EQ(BytesAt(Render(scene), 40, 40), (Rgb8{51, 51, 0}));
    scene.meshes[0].colors[2].blue = 1;  // no longer the same everywhere
    EXPECT_EQ(BytesAt(Render(scene), 40, 40), (Rgb8{51, 51, 0}));
    scene.meshes[0].colors.clear();
    PutPicture(scene, Texels({{255, 255, 0, 255}}, 1));
    EXPECT_EQ(BytesAt(Render(scene), 40, 40), (Rgb8{51, 102, 0}));
  }
  m_settings.mode = DrawMode::kShaded;
  m_settings.fog.on = true;
  m_settings.fog.nearDistance = 5;
  m_settings.fog.farDistance = 15;  // the square's middle is half in black fog
  const Rgb8 fogged = BytesAt(Render(scene), 40, 40);
  EXPECT_NEAR(fogged[0], 25, 2);
  EXPECT_NEAR(fogged[1], 51, 2);
}

TEST_F(Frames, SingleSidedTrianglesAreNotSeenFromBehind) {
  // Glass, vertex colours and a picture go other ways to the renderer.
  hostkit::Scene scene = SceneOf({Material(1, 0, 0)}, Square(0));
  hostkit::SceneMaterial& material = scene.materials[0];
  material.isUnlit = true;
  const DrawMode modes[] = {DrawMode::kShaded, DrawMode::kFlat, DrawMode::kLines,
                            DrawMode::kWireframe, DrawMode::kPoints};
  m_settings.depth = true;
  m_settings.lineColor = ColorBuf{255, 0, 0, 255};
  for (int i = 0; i < 5 * 3 * 16; ++i) {
    m_settings.mode = modes[i % 5];
    const int kind = i / 5 % 3, flags = i / 15;
    const bool isBehind = flags & 1, isMirrored = flags & 2;
    material.showsBacks = flags & 4;
    m_settings.showsAllBacks = flags & 8;
    material.surface.transparency = AnimatableValue(kind == 1 ? 0.25f : 0.0f);
    scene.meshes[0].colors.assign(kind == 2 ? 4 : 0, {255, 0, 0, 255});
    if (kind == 2) scene.meshes[0].colors[0].red = 254;
    scene.instances[0].toWorld = M44f().scale(V3f(isMirrored ? -1.0f : 1.0f, 1, 1));
    const auto picture = Render(scene, FrontView(isBehind ? -10.0f : 10.0f));
    float red = 0;
    for (int k = 0; k < 6400; ++k) red += At(picture, k % 80, k / 80).red;
    const bool isSeen = !isBehind || material.showsBacks || m_settings.showsAllBacks;
    const bool hasNoBehind = i % 5 >= 3;
    EXPECT_EQ(red > 2, isSeen || hasNoBehind) << i;
    const auto* depths = static_cast<const float*>(picture.bitmap->FindBuffer("Depth")->Data());
    EXPECT_NEAR(depths[40 * 80 + 35], isSeen ? 10 : 1e30f, 0.01f) << i;
  }
}

TEST_F(Frames, LargePicturesMayBeOfSquares) {
  hostkit::Scene scene = SceneOf({Material(1, 1, 1)}, Square(0));
  scene.materials[0].isUnlit = true;
  std::vector<ColorBuf> texels;
  for (int i = 0; i < 2048 * 4; ++i) {
    const auto grey = static_cast<std::uint8_t>(i % 2 * 255);
    texels.push_back({grey, grey, grey, 255});
  }
  PutPicture(scene, Texels(texels, 2048));
  scene.images[0].isNearest = true;
  for (Imath::V2f& uv : scene.meshes[0].uvs) uv.x *= 4.0f / 2048;
  // Those that are too large for it take nothing from the others.
  for (int i = 1; i <= 2; ++i) {
    hostkit::SceneImage& tooLarge = scene.images.emplace_back();
    tooLarge.bitmap = Texels(std::vector<ColorBuf>(2052 * 4), 2052);
    tooLarge.isNearest = true;
    scene.materials.push_back(scene.materials[0]);
    scene.materials.back().image = i;
    scene.meshes.insert(scene.meshes.begin(), scene.meshes.back());
    scene.meshes.front().material = i;
    scene.instances.push_back({i - 1, M44f().translate(V3f(1000, 0, 0)), -1});
  }
  scene.instances[0].mesh = 2;
  const auto picture = Render(scene);
  for (int x = 20; x < 60; ++x) {
    const bool isNearEdge = x % 10 < 3 || x % 10 > 6;
    if (isNearEdge) continue;
    EXPECT_NEAR(At(picture, x, 41).green, x / 10 % 2, 0.01f) << x;
  }
}

TEST(Backdrop, PicturesCoverFramesByTheMeansOfTheirTexels) {
  std::vector<ColorBuf> texels;  // each row is farther from the next than the one before
  for (int i = 0; i < 4 * 6; ++i) {
    const int x = i % 4, y = i / 4;
    texels.push_back({static_cast<std::uint8_t>(10 * x + 6 * y * y), 51, 0, 255});
  }
  for (std::size_t x = 0; x < 4; ++x) texels[x] = {200, 200, 200, 0};  // clear: black
  float mean[3];
  hostkit::Picture cover;
  cover.bitmap = hostkit::CoverWith(*Texels(texels, 4), 2, 3, mean);
  for (int i = 0; i < 2 * 3; ++i) {
    const int x = i % 2, y = i / 2;
    float red = 0, green = 0;
    for (const int k : {0, 1, 4, 5}) {
      const ColorBuf& texel = texels[static_cast<std::size_t>(8 * y + 2 * x + k)];
      red += static_cast<float>(texel.red * texel.alpha) / (4 * 255 * 255);
      green += static_cast<float>(texel.green * texel.alpha) / (4 * 255 * 255);
    }
    EXPECT_NEAR(At(cover, x, y).red, red, 0.001f) << x << ", " << y;
    EXPECT_NEAR(At(cover, x, y).green, green, 0.001f) << x << ", " << y;
  }
  EXPECT_NEAR(mean[1], 0.2f * 5 / 6, 0.001f);
}

TEST_F(Frames, AlphaIsCutOffAtItsProduct) {
  hostkit::Scene scene = SceneOf({Material(0, 1, 0)}, Square(0));
  hostkit::SceneMaterial& material = scene.materials[0];
  std::vector<ColorBuf> texels;
  for (std::uint8_t alpha : {0, 127, 128, 255}) texels.push_back({255, 255, 255, alpha});
  PutPicture(scene, Texels(texels, 4));
  scene.images[0].isNearest = true;
  // Which of the columns are seen, by cut-off, the material's alpha and the vertices'.
  struct Case {
    float cutoff, alpha;
    int vertexAlpha;
    std::string seen;
  };
  const Case cases[] = {{128 / 255.0f, 1, 255, "..##"}, {0.503f, 1, 255, "...#"},
                        {127 / 255.0f, 1, 255, ".###"}, {0.25f, 0.5f, 255, "..##"},
                        {0.5f, 0.5f, 255, "...#"},      {0.501f, 0.5f, 255, "...."},
                        {0.5f, 1, 128, "...#"},         {128 / 255.0f, 1, 127, "...."}};
  for (const Case& c : cases) {
    material.alphaCutoff = c.cutoff;
    material.surface.transparency = AnimatableValue(1 - c.alpha);
    for (const bool varies : {false, true}) {
      scene.meshes[0].colors.assign(4, {0, 255, 0, static_cast<std::uint8_t>(c.vertexAlpha)});
      if (varies) scene.meshes[0].colors[0].green = 254;
      scene.meshes[0].colorsHaveAlpha = c.vertexAlpha < 255;
      const auto picture = Render(scene);
      std::string seen;
      for (int x : {25, 35, 45, 55}) {
        const Pixel pixel = At(picture, x, 41);
        seen += pixel.green > 0.95f && pixel.blue == 0 ? '#' : pixel.blue == 1 ? '.' : '?';
      }
      EXPECT_EQ(seen, c.seen) << c.cutoff << ", " << c.alpha << ", " << c.vertexAlpha;
    }
  }
  // Blended texels: alpha crosses a half in the middle between two.
  material.surface.transparency = AnimatableValue(0.0f);
  material.alphaCutoff = 0.5f;
  scene.meshes[0].colors.clear();
  texels = {{255, 255, 255, 0}, {255, 255, 255, 0}, {255, 255, 255, 255}, {255, 255, 255, 255}};
  scene.images[0] = {"", Texels(texels, 4), hostkit::PictureWrap::kClamp,
                     hostkit::PictureWrap::kClamp};
  auto picture = Render(scene);
  EXPECT_EQ(BytesAt(picture, 37, 41), (Rgb8{0, 0, 255}));
  EXPECT_EQ(BytesAt(picture, 42, 41)[2], 0);
  // Vertices' alpha from 0 at the left to 255, with a cut-off at a quarter: ten pixels in.
  material.image = -1;
  material.alphaCutoff = 0.25f;
  for (std::uint8_t alpha : {0, 255, 0, 255}) scene.meshes[0].colors.push_back({0, 255, 0, alpha});
  scene.meshes[0].colorsHaveAlpha = true;
  picture = Render(scene);
  for (int y : {25, 50}) {
    EXPECT_EQ(BytesAt(picture, 28, y), (Rgb8{0, 0, 255}));
    EXPECT_EQ(BytesAt(picture, 31, y)[2], 0) << "opaque from there on";
  }
  // The same with a picture of half the alpha: twenty pixels in, within those of a band.
  material.image = 0;
  scene.images[0].bitmap = Texels({{255, 255, 255, 128}}, 1);
  for (const DrawMode mode : {DrawMode::kShaded, DrawMode::kFlat}) {
    m_settings.mode = mode;
    picture = Render(scene);
    EXPECT_EQ(BytesAt(picture, 36, 25), (Rgb8{0, 0, 255}));
    EXPECT_EQ(BytesAt(picture, mode == DrawMode::kFlat ? 57 : 44, 25)[2], 0);
  }
}

TEST_F(Frames, EmissionIsAddedToWhatIsLit) {
  hostkit::Scene scene =
      SceneOf({Material(0.5f, 0.25f, 1)}, Square(0), M44f().rotate(V3f(0, 1, 0)));
  hostkit::SceneMaterial& material = scene.materials[0];
  m_settings.lights = hostkit::LightSet::kThreePoint;
  scene.images.resize(2);
  scene.images[0].bitmap = Texels({{100, 200, 255, 255}}, 1);
  scene.images[1].bitmap = Texels({{128, 0, 255, 40}}, 1);  // its alpha means nothing
  const float emission[] = {0.25f, 0.5f, 0.125f}, shown[] = {128 / 255.0f, 0, 1};
  for (int i = 0; i < 16; ++i) {
    const bool hasPicture = i & 1, isGlowing = i & 2, isColored = i & 4, isFlat = i & 8;
    m_settings.mode = isFlat ? DrawMode::kFlat : DrawMode::kShaded;
    material.image = hasPicture ? 0 : -1;
    scene.meshes[0].colors.assign(isColored ? 4 : 0, {255, 128, 128, 255});
    if (isColored) scene.meshes[0].colors[0].red = 254;
    for (const float strength : {1.0f, 3.0f}) {
      SetEmission(material, 0, 0, 0);
      material.emissionImage = -1;
      const Pixel lit = At(Render(scene), 40, 40);
      SetEmission(material, emission[0] * strength, emission[1] * strength, emission[2] * strength);
      material.emissionImage = isGlowing ? 1 : -1;
      const Pixel sum = At(Render(scene), 40, 40);
      const float before[] = {lit.red, lit.green, lit.blue},
                  after[] = {sum.red, sum.green, sum.blue};
      for (int c = 0; c < 3; ++c) {
        const float added = strength * emission[c] * (isGlowing ? shown[c] : 1);
        EXPECT_NEAR(after[c], std::min(before[c] + added, 1.0f), 0.012f)
            << i << ", " << strength << ", " << c;
      }
    }
  }
}

TEST_F(Frames, EmissionKeepsToItsSurface) {
  s_mayBeUnlit = true;
  hostkit::Scene scene = SceneOf({Material(0, 0, 0), Material(1, 0, 0)}, Square(0));
  hostkit::SceneMaterial& material = scene.materials[0];
  PutPicture(scene, Texels({{255, 255, 255, 0}, {255, 255, 255, 255}}, 2));
  scene.images[0].isNearest = true;
  SetEmission(material, 0, 0.5f, 0);
  material.alphaCutoff = 0.5f;
  Add(scene, Square(1), At(0, 1, 1));  // before its upper half
  auto picture = Render(scene);
  EXPECT_EQ(BytesAt(picture, 30, 50), (Rgb8{0, 0, 255})) << "cut out";
  EXPECT_EQ(BytesAt(picture, 50, 50), (Rgb8{0, 128, 0}));
  EXPECT_EQ(BytesAt(picture, 50, 30), (Rgb8{255, 0, 0})) << "hidden";
  // Fog of its own colour comes once.
  m_settings.fog.on = true;
  m_settings.fog.nearDistance = 0;
  m_settings.fog.farDistance = 20;
  std::fill_n(m_settings.fog.color, 3, 1.0f);
  const Rgb8 fogged = BytesAt(Render(scene), 50, 50);
  EXPECT_NEAR(fogged[0], 128, 2);
  EXPECT_NEAR(fogged[1], 192, 2);
  // Blended, it comes with the picture.
  m_settings.fog.on = false;
  material.alphaCutoff = 0;
  material.surface.transparency = AnimatableValue(0.5f);
  EXPECT_NEAR(At(Render(scene), 50, 50).green, 0.25f, 0.01f);
  EXPECT_NEAR(At(Render(scene), 50, 50).blue, 0.5f, 0.01f);
}
