// Pictures on surfaces: what they show at which texture coordinates, by the meaning of their wrap
// modes, filters and sizes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <tuple>

#include "hostkit/pictures/picture_in.h"
#include "tests/hostkit/frame/frame_fixture.h"

using hostkit::PictureWrap;
using Imath::V2f;
using Imath::V3f;

namespace {

// A picture whose texels all differ.
struct Pattern {
  int width, height;
  static float Channel(int x, int y, int c) {
    const int factors[] = {83, 47, 151};
    return static_cast<float>((x * factors[c] + y * (31 + 36 * c) + 40) % 256);
  }
  hostkit::BitmapPtr Make() const {
    std::vector<unsigned char> texels;
    for (int i = 0; i < width * height; ++i) {
      for (int c = 0; c < 3; ++c) {
        texels.push_back(static_cast<unsigned char>(Channel(i % width, i / width, c)));
      }
      texels.push_back(255);
    }
    return hostkit::BitmapFromRgba(texels.data(), width, height);
  }
};

int Wrapped(int texel, int count, PictureWrap wrap) {
  if (wrap == PictureWrap::kClamp) return std::clamp(texel, 0, count - 1);
  const int copy = static_cast<int>(std::floor(static_cast<float>(texel) / count));
  const int inside = texel - copy * count;
  return wrap == PictureWrap::kMirror && copy % 2 != 0 ? count - 1 - inside : inside;
}

// The two texels that blend at a coordinate, and the share of the second; once the nearest one.
std::tuple<int, int, float> Blend(float at, int count, PictureWrap wrap, bool isNearest) {
  const float place = at * count - (isNearest ? 0.0f : 0.5f), first = std::floor(place);
  const int texel = static_cast<int>(first);
  return {Wrapped(texel, count, wrap), Wrapped(texel + 1, count, wrap),
          isNearest ? 0 : place - first};
}

float Expected(const Pattern& pattern, const hostkit::SceneImage& image, const V2f& uv, int c) {
  const auto [x0, x1, s] = Blend(uv.x, pattern.width, image.wrapU, image.isNearest);
  const auto [y0, y1, t] = Blend(uv.y, pattern.height, image.wrapV, image.isNearest);
  return std::lerp(std::lerp(Pattern::Channel(x0, y0, c), Pattern::Channel(x1, y0, c), s),
                   std::lerp(Pattern::Channel(x0, y1, c), Pattern::Channel(x1, y1, c), s), t);
}

// Blending may begin this near, in texels, to where squares meet.
bool IsBetweenSquares(float at, int count) {
  return std::abs(at * count - std::round(at * count)) < 0.05f;
}

// A square of `half` to every side that faces +z, with u = 0.4 + 0.9 x and v = 0.7 - 1.1 y.
hostkit::SceneMesh Sheet(float half) {
  hostkit::SceneMesh mesh = Square(0);
  for (std::size_t i = 0; i < 4; ++i) {
    mesh.positions[i] *= half;
    mesh.uvs[i] = V2f(0.4f + 0.9f * mesh.positions[i].x, 0.7f - 1.1f * mesh.positions[i].y);
  }
  return mesh;
}

hostkit::Scene SheetOf(const Pattern& pattern, float half) {
  hostkit::Scene scene = SceneOf({Material(1, 1, 1)}, Sheet(half));
  scene.materials[0].isUnlit = true;
  PutPicture(scene, pattern.Make());
  return scene;
}

// How far the picture is from its meaning, in steps of 255.
float Farthest(const hostkit::Picture& picture, const Pattern& pattern,
               const hostkit::SceneImage& image, float shift = 0) {
  float farthest = 0;
  for (int i = 0; i < 6400; ++i) {
    const float x = -1.975f + 0.05f * static_cast<float>(i % 80) - shift;
    const V2f uv(0.4f + 0.9f * x, 0.7f - 1.1f * (1.975f - 0.05f * static_cast<float>(i / 80)));
    if (image.isNearest &&
        (IsBetweenSquares(uv.x, pattern.width) || IsBetweenSquares(uv.y, pattern.height))) {
      continue;
    }
    const Pixel pixel = At(picture, i % 80, i / 80);
    const float shown[] = {pixel.red, pixel.green, pixel.blue};
    for (int c = 0; c < 3; ++c) {
      farthest = std::max(farthest, std::abs(shown[c] * 255 - Expected(pattern, image, uv, c)));
    }
  }
  return farthest;
}

}  // namespace

// Coordinates go from -1.4 to 2.2 and from -1.5 to 2.9 over the frame; of the large sheet, which is
// cut at a clamped picture's edges, to 1,800 and beyond.
TEST_F(Frames, PicturesGoOnAsTheirWrapsSay) {
  constexpr PictureWrap kWraps[] = {PictureWrap::kRepeat, PictureWrap::kMirror,
                                    PictureWrap::kClamp};
  for (const Pattern& pattern : {Pattern{8, 12}, Pattern{5, 6}, Pattern{2, 1}, Pattern{1, 3}}) {
    for (const float half : {2.0f, 2000.0f}) {
      hostkit::Scene scene = SheetOf(pattern, half);
      hostkit::SceneImage& image = scene.images[0];
      for (int i = 0; i < 18; ++i) {
        image.wrapU = kWraps[i % 3];
        image.wrapV = kWraps[i / 3 % 3];
        image.isNearest = i >= 9;
        // Filters count in 256 steps between texels.
        EXPECT_LT(Farthest(Render(scene), pattern, image), half > 2 ? 6 : 2.5f)
            << pattern.width << "x" << pattern.height << ", " << half << ", " << i;
      }
    }
  }
}

TEST(PictureLayout, EnlargesUpToTheLimitsOfTextures) {
  using hostkit::Enlarging;
  const struct {
    int width, height;
    Enlarging enlarging;
    int factor;
  } kCases[] = {{2048, 8, Enlarging::kLargeSquares, 2}, {2052, 8, Enlarging::kLargeSquares, 1},
                {8, 2052, Enlarging::kLargeSquares, 1}, {8, 8, Enlarging::kSquares, 64},
                {36, 8, Enlarging::kSquares, 32},       {1024, 1024, Enlarging::kSquares, 2},
                {1028, 8, Enlarging::kSquares, 1},      {340, 8, Enlarging::kSmooth, 3},
                {344, 8, Enlarging::kSmooth, 1},        {4096, 4, Enlarging::kNone, 1}};
  for (const auto& [width, height, enlarging, factor] : kCases) {
    const auto layout = hostkit::LayOutPicture(hostkit::SceneImage(), width, height,
                                               Imath::Box2f({0, 0}, {1, 1}), enlarging);
    EXPECT_EQ(layout.u.factor, factor) << width << "x" << height;
    EXPECT_EQ(layout.v.factor, factor) << width << "x" << height;
    EXPECT_EQ(layout.u.count, width);
  }
}

TEST_F(Frames, CutMeshesMayMoveAndHaveNoCracks) {
  const Pattern pattern = {8, 12};
  hostkit::Scene scene = SheetOf(pattern, 2000);
  scene.images[0].wrapU = scene.images[0].wrapV = PictureWrap::kClamp;
  std::string error;
  auto renderer = hostkit::FrameRenderer::Create(s_module->Driver(), scene, &error);
  ASSERT_TRUE(renderer) << error;
  for (const float shift : {0.0f, 0.45f}) {
    for (V3f& place : scene.meshes[0].positions) place.x += shift;
    EXPECT_LT(Farthest(renderer->Render(m_settings, FrontView(), &error), pattern, scene.images[0],
                       shift),
              6);
  }

  // A ball that is cut many times over, of one colour.
  const unsigned char green[4] = {0, 255, 0, 255};
  scene.meshes = {Sphere(0, 30)};
  for (const V3f& place : scene.meshes[0].positions) {
    scene.meshes[0].uvs.push_back(V2f(place.x + place.z, place.y - 0.3f * place.x) * 3000.0f);
  }
  scene.images[0].bitmap = hostkit::BitmapFromRgba(green, 1, 1);
  for (bool colored : {false, true}) {
    if (colored) scene.meshes[0].colors.assign(scene.meshes[0].positions.size(), {9, 255, 9, 255});
    if (colored) scene.meshes[0].colors[7].red = 8;
    const auto picture = Render(scene);
    for (int i = 0; i < 6400; ++i) {
      const int x = i % 80 - 40, y = i / 80 - 40;
      if (x * x + y * y < 18 * 18) {
        ASSERT_EQ(At(picture, i % 80, i / 80).green, 1) << x << ", " << y;
      }
    }
  }
}
