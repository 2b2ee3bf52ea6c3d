// What gl3 tells of pictures and models that are not as they seem, and which way up a model is
// drawn.
#include <fmt/format.h>

#include <array>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "apps/base/warning_digest.h"
#include "tests/support/common/gl3_process.h"
#include "tests/support/common/png_pixels.h"

namespace {

using Lines = std::vector<std::string>;

TEST(Warnings, AreToldOnceAKind) {
  const std::string found = "was not found; put it beside the model";
  const struct {
    Lines warnings, told;
  } cases[] = {
      {{"a: one; go", "a: two three; stop"}, {"a: one; go", "a: two three; stop"}},
      {{"m.obj: its picture a.png " + found, "m.obj: 3 faces left out; mend it",
        "m.obj: its picture my own b.png " + found, "m.obj: its picture c.png " + found,
        "m.obj: its picture d.png " + found},
       {"m.obj: its picture a.png " + found + " (4 like this, also my own b.png, c.png)",
        "m.obj: 3 faces left out; mend it"}},
      // Another model, another thing at the end, the same line, another remedy.
      {{"a.obj: its picture x.png " + found, "b.obj: its picture x.png " + found},
       {"a.obj: its picture x.png " + found + " (2 like this, also b.obj)"}},
      {{"a: it lacks the extension one; go", "a: it lacks the extension two; go"},
       {"a: it lacks the extension one; go (2 like this, also two)"}},
      {{"a: b; c", "a: b; c", "a: b; d"}, {"a: b; c (2 like this)", "a: b; d"}},
      // A long path in common makes no kind.
      {{"/a/very/long/path/of/a/model.gltf: no light; mend it",
        "/a/very/long/path/of/a/model.gltf: two things are odd; mend it"},
       {"/a/very/long/path/of/a/model.gltf: no light; mend it",
        "/a/very/long/path/of/a/model.gltf: two things are odd; mend it"}},
  };
  for (const auto& [warnings, told] : cases) EXPECT_EQ(gl3::DigestOf(warnings), told);
  gl3::WarningDigest digest;
  digest.Add("frame 1: it is black; add light");
  EXPECT_EQ(digest.Take(), Lines{"frame 1: it is black; add light"});
  digest.Add("frame 2: it is black; add light");
  EXPECT_EQ(digest.Take(), Lines{});
  EXPECT_EQ(digest.TakeRest(), Lines{"1 more like: frame 1: it is black; add light"});
  Lines many;
  for (int i = 0; i < 300; ++i) many.push_back(std::string(static_cast<std::size_t>(i) + 1, 'x'));
  const Lines few = gl3::DigestOf(many);
  EXPECT_EQ(few.size(), 101u);
  EXPECT_EQ(few.back(), "200 more warnings of other kinds");
}

class Told : public Gl3Test {
 protected:
  Told() { Write("cameras.gltf", kCamerasGltf); }

  /// The run's warnings as --json has them.
  Lines Warnings(const std::string& line) const {
    const Gl3Result result = Run("render cameras.gltf -o out.png -s 96x64 --json " + line);
    EXPECT_EQ(result.status, 0) << result.err;
    Lines warnings = nlohmann::json::parse(result.out)["warnings"];
    std::string told;
    for (const std::string& warning : warnings) told += "gl3: " + warning + "\n";
    EXPECT_EQ(result.err, told);
    return warnings;
  }
};

TEST_F(Told, APictureThatShowsNothing) {
  const std::string away = "out.png: nothing of the model is in view; ";
  const std::string alike = "out.png: the model is in view, and no pixel differs ";
  const struct {
    std::string line, begin;
  } cases[] = {{"", ""},
               {"--camera Away", away},
               {"--camera Away --no-background", away},
               {"--camera Away --grid", away},
               {"--eye 0,0,3 --target 0,0,9 --parallel --antialias 1 --text a", away},
               {"--eye 0,0,3 --target 0,3,3 --effect negative", away},
               {"--fog exp:9999", alike},
               {"--fog exp:9999 --background white --text a", ""},
               {"--mode lines --color red", "--color: --mode lines shows no surfaces; "},
               {"--mode lines --color red --line-color blue", ""}};
  for (const auto& [line, begin] : cases) {
    const Lines warnings = Warnings(line);
    ASSERT_EQ(warnings.size(), begin.empty() ? 0u : 1u) << line;
    if (!begin.empty()) {
      EXPECT_EQ(warnings[0].rfind(begin, 0), 0u) << warnings[0];
    }
  }
  const Gl3Result turn =
      Run("render cameras.gltf -o p_##.png -s 16x16 --eye 0,0,3 --target 0,0,9 --turntable 4");
  EXPECT_EQ(turn.err.rfind("gl3: p_01.png: nothing of the model is in view; ", 0), 0u);
  EXPECT_NE(turn.err.find("gl3: 3 more like: p_01.png: "), std::string::npos) << turn.err;
}

/// Three triangles of which no two sides look alike, in a world with another axis up: `axes` are
/// where right, up and front lie there.
std::string Chair(const std::array<std::string, 3>& axes) {
  constexpr int kCorners[9][3] = {{0, 0, 0},  {3, 0, 0}, {0, 0, 2}, {0, 0, 0}, {0, 4, 0},
                                  {2, 0, -1}, {3, 0, 0}, {1, 1, 2}, {3, 2, 0}};
  std::string text;
  for (const auto& corner : kCorners) {
    int place[3] = {};
    for (std::size_t i = 0; i < 3; ++i) {
      const int sign = axes[i][0] == '-' ? -1 : 1;
      place[axes[i][1] - 'X'] = sign * corner[i];
    }
    text += fmt::format("v {} {} {}\n", place[0], place[1], place[2]);
  }
  return text + "f 1 2 3\nf 4 5 6\nf 7 8 9\n";
}

/// Pixels of which a channel differs by more than a rounding.
long Different(const Pixels& a, const Pixels& b) {
  long count = 0;
  for (std::size_t i = 0; i < a.rgba.size(); ++i) count += std::abs(a.rgba[i] - b.rgba[i]) > 8;
  return count;
}

TEST_F(Told, EveryAxisCanBeUp) {
  // Right, up and front of a model, as they lie in its file.
  const std::array<std::string, 3> worlds[] = {{"-Y", "+X", "+Z"},
                                               {"+Y", "-X", "+Z"},
                                               {"+X", "-Y", "-Z"},
                                               {"+X", "+Z", "-Y"},
                                               {"+X", "-Z", "+Y"}};
  Write("y.obj", Chair({"+X", "+Y", "+Z"}));
  const auto draw = [&](const std::string& line) {
    EXPECT_EQ(Done("render " + line + " -s 96x64 -o out.png"), "");
    return ReadPng(Path("out.png"));
  };
  const std::string views[] = {"", "--view front", "--view top --parallel", "--view left",
                               "--view iso --turntable 3 --frames 2"};
  for (const std::string& view : views) {
    const Pixels upright = draw("y.obj " + view);
    for (const auto& world : worlds) {
      Write("turned.obj", Chair(world));
      const std::string turned = "turned.obj --up-axis " + world[1] + " " + view;
      EXPECT_LT(Different(draw(turned), upright), 40) << turned;
      EXPECT_GT(Different(draw("turned.obj " + view), upright), 400) << "as if y were up";
    }
  }
  // Coordinates are the file's all the same; what is up decides what --eye without --up sees.
  Write("z.obj", Chair(worlds[3]));
  EXPECT_LT(Different(draw("z.obj --up-axis +Z --eye 1,-20,2"), draw("y.obj --eye 1,2,20")), 40);
  EXPECT_LT(Different(draw("z.obj --eye 1,-20,2 --up 0,0,1"), draw("y.obj --eye 1,2,20")), 40);
  EXPECT_EQ(Different(draw("y.obj --up-axis +Z --view 1,2,3"), draw("y.obj --view 1,2,3")) > 40,
            true)
      << "the horizon turns";
  const Pixels kept = draw("z.obj --up-axis +Z --grid");
  Done("render -q --like out.png -o again.png");
  EXPECT_EQ(ReadPng(Path("again.png")).rgba, kept.rgba);
}

/// The triangle with its cameras, moved away from the origin.
std::string Moved(std::string text, const std::string& by) {
  const auto replace = [&](const std::string& old, const std::string& now) {
    text.replace(text.find(old), old.size(), now);
  };
  replace(R"("nodes": [0, 1, 2])", R"("nodes": [3])");
  replace("[0, 1, 0, 0]}]",
          R"([0, 1, 0, 0]}, {"children": [0, 1, 2], "translation": [)" + by + "]}]");
  return text;
}

TEST_F(Told, FarModelsLookLikeNearOnes) {
  Write("near.obj",
        "v 0 0 0\nv 0.001 0 0.0003\nv 0.0002 0.0007 0\nv 0 0 0.001\nf 1 2 3\nf 1 3 4\n");
  Write("far.obj",
        "v 10000 7 -200000\nv 10000.001 7 -199999.9997\nv 10000.0002 7.0007 -200000\n"
        "v 10000 7 -199999.999\nf 1 2 3\nf 1 3 4\n");
  Write("far.gltf", Moved(kCamerasGltf, "200000.1, 4649776, -0.3"));
  const auto draw = [&](const std::string& line) {
    EXPECT_EQ(Done("render " + line + " -s 96x64 -o out.png"), "");
    return ReadPng(Path("out.png"));
  };
  // A millimetre 200 km away, of which floats could tell a hundredth; a rounding is left of that.
  EXPECT_LE(Different(draw("far.obj"), draw("near.obj")), 4);
  EXPECT_LE(
      Different(draw("far.obj --mode lines --parallel"), draw("near.obj --mode lines --parallel")),
      4);
  EXPECT_LE(Different(draw("far.obj --eye 10000.0005,7,-199999.998 --target 10000,7,-200000"),
                      draw("near.obj --eye 0.0005,0,0.002 --target 0,0,0")),
            4);
  EXPECT_EQ(draw("far.gltf --camera Close").rgba, draw("cameras.gltf --camera Close").rgba);
  EXPECT_EQ(draw("far.gltf --turntable 8 --frames 2").rgba,
            draw("cameras.gltf --turntable 8 --frames 2").rgba);
  Write("huge.obj", "v 0 0 0\nv 1e19 0 0\nv 0 1e19 0\nf 1 2 3\n");
  Write("tiny.obj", "v 0 0 0\nv 1e-19 0 0\nv 0 1e-19 0\nf 1 2 3\n");
  ExpectRefused("render huge.obj -o no.png", 3, {"huge.obj", "1e+18", "; "});
  ExpectRefused("render tiny.obj -o no.png", 3, {"tiny.obj", "1e-18", "; "});
}

TEST_F(Told, LinesOfTheModelTakeNoLineColor) {
  Write("wire.obj", "v 0 0 0\nv 1 1 0\nl 1 2\n");
  const std::string draw = "render wire.obj -o out.png -s 20x10 --mode lines ";
  EXPECT_TRUE(
      Run(draw + "--line-color red").err.starts_with("gl3: --line-color: the model has no"));
  EXPECT_EQ(Run(draw + "--color red").err, "");
}

TEST_F(Told, PointsCanBeSeen) {
  std::string cloud =
      "ply\nformat ascii 1.0\nelement vertex 64\nproperty float x\nproperty float y\n"
      "property float z\nend_header\n";
  for (int i = 0; i < 64; ++i) cloud += fmt::format("{} {} 0\n", i % 8, i / 8);
  Write("cloud.ply", cloud);
  const auto covered = [&](const std::string& line) {
    EXPECT_EQ(Done("render cloud.ply --view front --parallel --no-background -o out.png " + line),
              "");
    const Pixels pixels = ReadPng(Path("out.png"));
    return pixels.Sum(3, 0, pixels.width) / 255;
  };
  EXPECT_NEAR(covered("-s 300x200 --point-size 1"), 64, 1);
  EXPECT_NEAR(covered("-s 300x200 --point-size 2"), 64 * 4, 4);
  // 8 x 8 points seen through 200 pixels are farther apart than the 3 that a point has at most.
  EXPECT_NEAR(covered("-s 300x200"), 64 * 9 * 0.785, 20) << "round";
  EXPECT_NEAR(covered("-s 300x200 --antialias 1"), 64 * 9, 4) << "square";
  EXPECT_NEAR(covered("-s 600x400"), 64 * 16 * 0.785, 20) << "a hundredth of the height";
  const Pixels kept = ReadPng(Path("out.png"));
  Done("render -q --like out.png -o again.png");
  EXPECT_EQ(ReadPng(Path("again.png")).rgba, kept.rgba);
}

}  // namespace
