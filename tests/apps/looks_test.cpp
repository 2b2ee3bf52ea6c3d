// `gl3 render` with parts left out, other surfaces, backgrounds, text and scale bars.
#include <fmt/format.h>

#include <cmath>
#include <cstring>
#include <numbers>

#include "tests/support/common/gl3_process.h"
#include "tests/support/common/holds.h"
#include "tests/support/common/png_pixels.h"

namespace {

constexpr int kSheetWidth = 200, kSheetHeight = 100;

/// Squares of side 1 that face +z, at x = -2, 0 and 2: "Wheel.L" and "Wheel.R", which hang on
/// "Car", and "Road"; the first two are red, the third is blue.
constexpr const char* kCar = R"({"asset": {"version": "2.0"}, "scene": 0,
"scenes": [{"nodes": [0, 3]}],
"nodes": [{"name": "Car", "children": [1, 2]},
  {"name": "Wheel.L", "mesh": 0, "translation": [-2, 0, 0]}, {"name": "Wheel.R", "mesh": 0},
  {"name": "Road", "mesh": 1, "translation": [2, 0, 0]}],
"materials": [{"pbrMetallicRoughness": {"baseColorFactor": [1, 0, 0, 1]}},
  {"pbrMetallicRoughness": {"baseColorFactor": [0, 0, 1, 1]}}],
"meshes": [{"primitives": [{"attributes": {"POSITION": 0}, "mode": 5, "material": 0}]},
  {"name": "Tar", "primitives": [{"attributes": {"POSITION": 0}, "mode": 5, "material": 1}]}],
"accessors": [{"bufferView": 0, "componentType": 5126, "count": 4, "type": "VEC3",
  "min": [-0.5, -0.5, 0], "max": [0.5, 0.5, 0]}],
"bufferViews": [{"buffer": 0, "byteLength": 48}],
"buffers": [{"byteLength": 48, "uri": "square.bin"}]})";

using Color = std::vector<int>;

Color At(const Pixels& picture, int x, int y) {
  const unsigned char* at = &picture.rgba[static_cast<std::size_t>(y * picture.width + x) * 4];
  return {at[0], at[1], at[2]};
}

class Looks : public Gl3Test {
 protected:
  Looks() {
    const float corners[] = {-0.5, -0.5, 0, 0.5, -0.5, 0, -0.5, 0.5, 0, 0.5, 0.5, 0};
    std::string bytes(sizeof corners, 0);
    std::memcpy(bytes.data(), corners, sizeof corners);
    Write("square.bin", bytes);
    Write("car.gltf", kCar);
  }

  /// Without a word, seen from the front, with no margin.
  Pixels Render(const std::string& line) const {
    EXPECT_EQ(Done("render -o out.png car.gltf -s 200x100 --antialias 1 --view front --parallel "
                   "--margin 0 " +
                   line),
              "");
    return ReadPng(Path("out.png"));
  }
};

TEST_F(Looks, LeaveOutWhatIsHidden) {
  const Color black = {0, 0, 0}, red = {255, 0, 0}, blue = {0, 0, 255};
  // The squares, each a fifth of what is 5 wide when all are there: 40 pixels.
  const struct {
    const char* line;
    std::vector<Color> seen;  // at pixels from the middle: -80, -40, 0, 40, 80
  } cases[] = {
      {"", {red, black, red, black, blue}},
      {"--hide Road", {red, red, black, red, red}},      // 3 wide: 67 pixels each
      {"--hide Car", {black, blue, blue, blue, black}},  // one square fills the height
      {"--only Tar", {black, blue, blue, blue, black}},
      {"--only 'Wheel.?' --only Road --hide '*.L'", {red, red, black, blue, blue}},
  };
  for (const auto& [line, seen] : cases) {
    const Pixels picture = Render("--material unlit --background black " + std::string(line));
    for (int i = 0; i < 5; ++i) {
      EXPECT_EQ(At(picture, 20 + 40 * i, 50), seen[i]) << line << ", " << i;
    }
  }
  ExpectRefused("render car.gltf -o no.png --hide Whel.L", 2,
                {"--hide: ", "Whel.L", "did you mean Wheel.L?", "Car", "Road"});
  ExpectRefused("render car.gltf -o no.png --only 'Road?'", 2, {"--only: "});
  ExpectRefused("render car.gltf -o no.png --hide Car --hide Road", 2, {"--hide: ", "nothing"});
}

TEST_F(Looks, GiveSurfacesOtherColors) {
  const Pixels flat = Render("--material unlit --color #336699");
  for (const int x : {20, 100, 180}) EXPECT_EQ(At(flat, x, 50), (Color{0x33, 0x66, 0x99}));
  // Lit grey is grey; red stays red but for what is bright on it.
  const Color clay = At(Render("--material clay --lights headlight"), 20, 50);
  EXPECT_NEAR(clay[0], clay[2], 12);
  EXPECT_GT(clay[1], 100);
  const Color matte = At(Render("--material matte --lights headlight"), 20, 50);
  EXPECT_GT(matte[0], 100);
  EXPECT_EQ(matte[1], 0) << "a highlight is white";
  EXPECT_GT(At(Render("--material shiny --lights headlight"), 20, 50)[1], 30);
}

TEST_F(Looks, StandBeforeBackgrounds) {
  const Pixels gradient = Render("--background '#ff8000,0,0,1' --material unlit");
  for (const int y : {0, 37, 99}) {
    const double share = (y + 0.5) / kSheetHeight;
    const Color seen = At(gradient, 60, y);
    EXPECT_NEAR(seen[0], 255 * (1 - share), 1) << y;
    EXPECT_NEAR(seen[1], 128 * (1 - share), 1) << y;
    EXPECT_NEAR(seen[2], 255 * share, 1) << y;
  }
  EXPECT_EQ(At(gradient, 20, 50), (Color{255, 0, 0}));
  // Of 4 x 4 blocks in a picture as high as it is wide the two middle rows are seen.
  Pixels blocks{40, 40, std::vector<unsigned char>(40 * 40 * 4, 255)};
  for (int i = 0; i < 1600; ++i) {
    blocks.rgba[static_cast<std::size_t>(i) * 4] = static_cast<unsigned char>(i % 40 / 10 * 60);
    blocks.rgba[static_cast<std::size_t>(i) * 4 + 1] = static_cast<unsigned char>(i / 400 * 60);
  }
  WritePng(Path("blocks.png"), blocks);
  const Pixels covered = Render("--background blocks.png --only Road --zoom 0.1");
  for (int i = 0; i < 8; ++i) {
    const int x = i % 4, y = i / 4;
    EXPECT_EQ(At(covered, 25 + 50 * x, 10 + 80 * y), (Color{60 * x, 60 * (y + 1), 255})) << i;
  }
  Done("render -q --like out.png -o again.png");
  EXPECT_EQ(ReadPng(Path("again.png")).rgba, covered.rgba);
  ExpectRefused("render car.gltf -o no.png --background none.png", 3, {"--background: none.png"});
}

TEST_F(Looks, CarryTextOfAnySize) {
  int before = 0;
  for (const int size : {20, 40, 80}) {
    const Pixels picture = Render(fmt::format(
        "--color black --material unlit --background black --text H,30,10,white,{}px", size));
    int top = kSheetHeight, bottom = 0, left = kSheetWidth, right = 0;
    for (int i = 0; i < kSheetWidth * kSheetHeight; ++i) {
      if (At(picture, i % kSheetWidth, i / kSheetWidth)[0] < 128) continue;
      top = std::min(top, i / kSheetWidth);
      bottom = std::max(bottom, i / kSheetWidth + 1);
      left = std::min(left, i % kSheetWidth);
      right = std::max(right, i % kSheetWidth + 1);
    }
    EXPECT_NEAR(top, 10, 1) << size;
    EXPECT_NEAR(left, 30, size / 5) << size;
    EXPECT_NEAR(bottom - top, 0.72 * size, 0.1 * size) << size;
    EXPECT_NEAR(bottom - top, 2 * before, before == 0 ? 99 : 2) << size;
    before = bottom - top;
    const int upper = top + before / 4;
    EXPECT_GT(At(picture, left + size / 20, upper)[0], 128) << size;
    EXPECT_LT(At(picture, (left + right) / 2, upper)[0], 64) << size << ": between the stems";
  }
}

TEST_F(Looks, TellHowLongThingsAre) {
  /// The white run in the bar's rows.
  const auto bar = [&](const std::string& line) {
    const Pixels picture = Render("--color black --background black --scale-bar " + line);
    for (int y = 80; y < 84; ++y) {
      EXPECT_EQ(At(picture, 16, y)[0], 255) << y;
      EXPECT_EQ(At(picture, 15, y)[0], 0) << y;
    }
    EXPECT_EQ(At(picture, 16, 84)[0], 0);
    int length = 0;
    while (At(picture, 16 + length, 82)[0] == 255) ++length;
    return length;
  };
  // 5 units are 200 pixels, so that 1 is 40, and 2 would be more than a quarter of the picture.
  EXPECT_EQ(bar(""), 40);
  EXPECT_EQ(bar("--zoom 2"), 40) << "0.5";
  EXPECT_EQ(bar("--zoom 0.5 --margin 20"), 32) << "2";
  // 8 in front of the eye 16 tan(20 degrees) are 100 pixels: the length is 2.
  const double unit = 16 * std::tan(std::numbers::pi / 9) / 100;
  Done(
      "render -o out.png car.gltf -s 200x100 --background black --color black --eye 0,0,9 "
      "--target 0,0,1 --scale-bar=m");
  const Pixels far = ReadPng(Path("out.png"));
  int length = 0;
  while (At(far, 16 + length, 82)[0] == 255) ++length;
  EXPECT_NEAR(length, 2 / unit, 0.51);
}

}  // namespace
