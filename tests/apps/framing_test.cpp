// `gl3 render` from chosen sides, enlarged and cut open: where known points come out.
#include <fmt/format.h>

#include <cmath>
#include <numbers>

#include "tests/support/common/gl3_process.h"
#include "tests/support/common/holds.h"
#include "tests/support/common/png_pixels.h"

namespace {

constexpr int kWidth = 200, kHeight = 100;

struct Point {
  double x, y, z;
};
double Dot(const Point& a, const Point& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

/// The pixels of one colour: how many, their bounds and their middle.
struct Spot {
  int count = 0, left = kWidth, right = 0, top = kHeight, bottom = 0;
  double x = 0, y = 0;
};
Spot SpotOf(const Pixels& picture, int red, int green, int blue) {
  Spot spot;
  for (int i = 0; i < picture.width * picture.height; ++i) {
    const unsigned char* at = &picture.rgba[static_cast<std::size_t>(i) * 4];
    if (at[0] != red || at[1] != green || at[2] != blue) continue;
    const int x = i % picture.width, y = i / picture.width;
    spot.left = std::min(spot.left, x);
    spot.right = std::max(spot.right, x + 1);
    spot.top = std::min(spot.top, y);
    spot.bottom = std::max(spot.bottom, y + 1);
    spot.x += x + 0.5;
    spot.y += y + 0.5;
    ++spot.count;
  }
  spot.x /= spot.count;
  spot.y /= spot.count;
  return spot;
}

/// The six sides of a box in OBJ, outwards or inwards; `first` is the number of its first vertex.
std::string Box(const Point& low, const Point& high, int first, bool isInward = false) {
  std::string text;
  for (int i = 0; i < 8; ++i) {
    text += fmt::format("v {} {} {}\n", i & 1 ? high.x : low.x, i & 2 ? high.y : low.y,
                        i & 4 ? high.z : low.z);
  }
  const int sides[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4},
                           {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
  for (const auto& s : sides) {
    const int b = s[isInward ? 3 : 1], d = s[isInward ? 1 : 3];
    text += fmt::format("f {} {} {} {}\n", first + s[0], first + b, first + s[2], first + d);
  }
  return text;
}

class Framing : public Gl3Test {
 protected:
  Framing() {
    Write("colors.mtl", "newmtl blue\nKd 0 0 1\nnewmtl red\nKd 1 0 0\n");
    Write("box.obj", "mtllib colors.mtl\nusemtl blue\n" +
                         Box({-1, -0.5, -0.75}, {1, 0.5, 0.75}, 1) + "usemtl red\n" +
                         Box({1.1, 0.6, 0.85}, {1.2, 0.7, 0.95}, 9));
    Write("cube.obj", Box({-1, -1, -1}, {1, 1, 1}, 1));
  }

  /// Without a word; colours are the materials' own.
  Pixels Render(const std::string& line) const {
    EXPECT_EQ(Done("render -o out.png -s 200x100 --antialias 1 --background black "
                   "--material unlit " +
                   line),
              "");
    return ReadPng(Path("out.png"));
  }
};

TEST_F(Framing, ShowsTheModelFromTheSideThatTheAnglesTell) {
  const struct {
    double azimuth, elevation, free;
    bool isZUp;
  } cases[] = {
      {30, 20, 0.05, false}, {-20, 65, 0.3, false}, {75, -10, 0.05, true}, {40, 90, 0.5, false}};
  for (const auto& [azimuth, elevation, free, isZUp] : cases) {
    const double a = azimuth * std::numbers::pi / 180, e = elevation * std::numbers::pi / 180;
    const Point right{std::cos(a), 0, -std::sin(a)};
    const Point up{-std::sin(e) * std::sin(a), std::cos(e), -std::sin(e) * std::cos(a)};
    // As if y were up: z is, and the front is what -y faces.
    const auto turned = [zUp = isZUp](const Point& p) { return zUp ? Point{p.x, p.z, -p.y} : p; };
    double low[2] = {9, 9}, high[2] = {-9, -9};
    for (int i = 0; i < 16; ++i) {
      const Point own = i < 8 ? Point{i & 1 ? 1. : -1, i & 2 ? .5 : -.5, i & 4 ? .75 : -.75}
                              : Point{i & 1 ? 1.2 : 1.1, i & 2 ? .7 : .6, i & 4 ? .95 : .85};
      const double at[2] = {Dot(turned(own), right), Dot(turned(own), up)};
      for (int k = 0; k < 2; ++k) {
        low[k] = std::min(low[k], at[k]);
        high[k] = std::max(high[k], at[k]);
      }
    }
    const double seen = std::max(high[1] - low[1], (high[0] - low[0]) / 2) / (1 - free);
    const double scale = kHeight / seen;
    const Point knob = turned({1.15, 0.65, 0.9});
    const std::string line = fmt::format(
        "box.obj --parallel --azimuth {} --elevation {}{}{}", azimuth, elevation,
        free == 0.05 ? "" : fmt::format(" --margin {}", free * 100), isZUp ? " --up-axis +Z" : "");
    const Spot spot = SpotOf(Render(line), 255, 0, 0);
    ASSERT_GT(spot.count, 0) << line;
    EXPECT_NEAR(spot.x, 100 + scale * (Dot(knob, right) - (low[0] + high[0]) / 2), 0.7) << line;
    EXPECT_NEAR(spot.y, 50 - scale * (Dot(knob, up) - (low[1] + high[1]) / 2), 0.7) << line;
  }
}

TEST_F(Framing, EnlargesWhateverCameraItIsFrom) {
  // The face of the cube that is 4 in front of the eye, of which 8 tan(20 degrees) are seen.
  for (const double zoom : {1.0, 1.4, 0.5}) {
    const double half = 50 / (4 * std::tan(std::numbers::pi / 9)) * zoom;
    const std::string more = zoom == 1 ? "" : fmt::format(" --zoom {}", zoom);
    const Spot spot = SpotOf(Render("cube.obj --color red --eye 0,0,5" + more), 255, 0, 0);
    EXPECT_NEAR(spot.right - spot.left, 2 * half, 1.1) << zoom;
    EXPECT_NEAR(spot.bottom - spot.top, 2 * half, 1.1) << zoom;
  }
  const Spot plain = SpotOf(Render("cube.obj --color red --view top --parallel"), 255, 0, 0);
  const Spot half =
      SpotOf(Render("cube.obj --color red --view top --parallel --zoom 0.5"), 255, 0, 0);
  EXPECT_EQ(plain.bottom - plain.top, 95) << "5 percent are free";
  EXPECT_NEAR(half.bottom - half.top, 95 / 2.0, 1.1);
}

TEST_F(Framing, CutsSolidsOpenAndClosesThem) {
  const auto cap = [&](const std::string& line) {
    return SpotOf(Render("cube.obj --color blue --eye 5,0,0 --fov 40 " + line), 0xCC, 0x59, 0x40);
  };
  const auto sideAt = [](double distance) {
    return 100 / (distance * std::tan(std::numbers::pi / 9));
  };
  // The nearer the plane, the larger is the square.
  for (const auto& [section, x] :
       {std::pair("x=0.25", 0.25), {"x=75%", 0.5}, {"2,0,0,-0.5", -0.5}}) {
    const Spot spot = cap(std::string("--section ") + section);
    EXPECT_NEAR(spot.right - spot.left, sideAt(5 - x), 1.1) << section;
    EXPECT_EQ(spot.count, (spot.right - spot.left) * (spot.bottom - spot.top)) << section;
  }
  EXPECT_EQ(cap("--section -x=0.25").count, 0) << "the cap is seen from its other side alone";
  // A hollow: an outline within another.
  Write("tube.obj",
        Box({-1, -1, -1}, {1, 1, 1}, 1) + Box({-1, -0.5, -0.5}, {1, 0.5, 0.5}, 9, true));
  const Spot ring = SpotOf(Render("tube.obj --parallel --view right --margin 0 --section x=0 "
                                  "--section-color #0f0"),
                           0, 255, 0);
  EXPECT_NEAR(ring.count, 100 * 100 * 3 / 4, 250);
  const Pixels inside = ReadPng(Path("out.png"));
  const unsigned char* middle = &inside.rgba[(50 * kWidth + 100) * 4];
  EXPECT_NE(middle[1], 255) << "the hollow stays hollow";

  Write("squares.obj", kSquaresObj);
  const Gl3Result open = Run("render squares.obj -o open.png -s 20x20 --section y=50%");
  EXPECT_EQ(open.status, 0);
  EXPECT_TRUE(Holds(open.err, {"--section: ", "stay open"}));
  ExpectRefused("render cube.obj -o cut.png --section x=-3", 2, {"--section: ", "from -1 to 1"});
  const Gl3Result beside = Run("render cube.obj -o whole.png -s 20x20 --section x=3 --json");
  EXPECT_TRUE(Holds(beside.err, {"--section: ", "cuts nothing off", "from -1 to 1"}));
  EXPECT_TRUE(Holds(beside.out, {"cuts nothing off"}));
}

/// A red square of side 1 about the origin that moves by 1 to the left within a second.
constexpr const char* kSliding = R"({"asset": {"version": "2.0"},
"nodes": [{"name": "Plate", "mesh": 0}], "scenes": [{"nodes": [0]}], "scene": 0,
"materials": [{"pbrMetallicRoughness": {"baseColorFactor": [1, 0, 0, 1]}}],
"meshes": [{"primitives": [{"attributes": {"POSITION": 0}, "mode": 5, "material": 0}]}],
"animations": [{"samplers": [{"input": 1, "output": 2}],
  "channels": [{"sampler": 0, "target": {"node": 0, "path": "translation"}}]}],
"accessors": [
  {"bufferView": 0, "componentType": 5126, "count": 4, "type": "VEC3"},
  {"bufferView": 0, "byteOffset": 48, "componentType": 5126, "count": 2, "type": "SCALAR"},
  {"bufferView": 0, "byteOffset": 56, "componentType": 5126, "count": 2, "type": "VEC3"}],
"bufferViews": [{"buffer": 0, "byteLength": 80}],
"buffers": [{"byteLength": 80, "uri": "sliding.bin"}]})";

TEST_F(Framing, CutsAnewWhatMoves) {
  const float numbers[] = {-0.5, -0.5, 0, 0.5, -0.5, 0, -0.5, 0.5, 0, 0.5,
                           0.5,  0,    0, 1,   0,    0, 0,    -1,  0, 0};
  Write("sliding.bin", std::string(reinterpret_cast<const char*>(numbers), sizeof numbers));
  Write("sliding.gltf", kSliding);
  const Gl3Result result =
      Run("render sliding.gltf -o out_##.png -s 200x100 --antialias 1 --material unlit --parallel "
          "--eye 0,0,5 --target 0,0,0 --frames 1-2 --fps 1 --section x=0");
  EXPECT_EQ(result.status, 0) << result.err;
  const double unit = 100 / (10 * std::tan(std::numbers::pi / 9));  // 5 in front of the eye
  for (const int frame : {1, 2}) {
    const Spot spot = SpotOf(ReadPng(Path(fmt::format("out_{:02}.png", frame))), 255, 0, 0);
    EXPECT_NEAR(spot.left, 100 - (frame == 1 ? 0.5 : 1.5) * unit, 1) << frame;
    EXPECT_NEAR(spot.right, 100 - (frame == 1 ? 0 : 0.5) * unit, 1) << frame;
  }
  const Gl3Result away =
      Run("render sliding.gltf -o out_##.png -s 20x10 --frames 1-2 --fps 1 --section x=-1.6");
  EXPECT_TRUE(Holds(away.err, {"all of the model lies beyond the plane, from -1.5 to 0.5"}));
}

TEST_F(Framing, IsRepeatedFromRecipes) {
  const Pixels first = Render(
      "box.obj --azimuth 33 --elevation -12.5 --margin 20 --zoom 1.25 "
      "--section -y=0.2 --section-color red --scale-bar=mm");
  Done("render -q --like out.png -o again.png");
  EXPECT_EQ(ReadPng(Path("again.png")).rgba, first.rgba);
  Done("render -q --like out.png -o again.png --eye 3,4,5");
  EXPECT_NE(ReadPng(Path("again.png")).rgba, first.rgba);
}

}  // namespace
