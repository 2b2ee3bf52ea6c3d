// Renders that succeed: the files, what the options do to the pixels, the figures, the recipe.
#include <nlohmann/json.hpp>

#include "tests/support/common/gl3_process.h"
#include "tests/support/common/holds.h"
#include "tests/support/common/png_pixels.h"

namespace fs = std::filesystem;

namespace {

class Pictures : public Gl3Test {
 protected:
  Pictures() {
    Write("squares.obj", kSquaresObj);
    Write("cameras.gltf", kCamerasGltf);
  }

  /// What an outside program says about a picture file.
  std::string InfoOf(const std::string& name) const {
    return Run({"oiiotool", "--info", "-v", name}, {.program = "/usr/bin/env"}).out;
  }
  /// Renders without a word and reads the PNG.
  Pixels Render(const std::string& line) const {
    EXPECT_EQ(Done("render -o out.png -s 96x64 " + line), "");
    return ReadPng(Path("out.png"));
  }
};

TEST_F(Pictures, AreWrittenInEveryKindWithTheirRecipe) {
  for (const char* name : {"a picture.png", "out.exr", "out.jpg", "OUT.JPEG", "out.tif"}) {
    Done({"render", "squares.obj", "-o", name, "--size", "97x63"});
    EXPECT_TRUE(Holds(InfoOf(name), {"97 x   63", "gl3 render squares.obj -o", "xxh3:", "fov=40"}));
  }
  EXPECT_TRUE(Holds(InfoOf("a picture.png"), {"-o 'a picture.png'"}));
  EXPECT_TRUE(Holds(InfoOf("out.exr"), {"half openexr"}));
  EXPECT_EQ(Names().size(), 7u);
}

TEST_F(Pictures, ShowTheBackgroundThatWasAskedFor) {
  const Pixels onRed = Render("squares.obj --background #f00");
  EXPECT_EQ(std::vector<int>(onRed.rgba.begin(), onRed.rgba.begin() + 4),
            (std::vector<int>{255, 0, 0, 255}));
  EXPECT_FALSE(onRed.IsConstant());
  for (const std::string clear : {"--no-background", "--background transparent"}) {
    const Pixels cutOut = Render("squares.obj " + clear);
    EXPECT_EQ(cutOut.rgba[3], 0);
    EXPECT_GT(cutOut.Sum(3, 0, 96), 255 * 100);
  }
}

TEST_F(Pictures, AreTakenFromTheCameraThatWasNamed) {
  EXPECT_FALSE(Render("cameras.gltf").IsConstant());
  EXPECT_FALSE(Render("cameras.gltf --camera Close").IsConstant());
  EXPECT_TRUE(Render("-q cameras.gltf --camera Away").IsConstant());
  EXPECT_TRUE(Render("-q cameras.gltf --eye 0,0,3 --target 0,0,9").IsConstant());
  const Pixels upright = Render("cameras.gltf --eye 0,0,3");
  EXPECT_FALSE(upright.IsConstant());
  // From straight above, where what is up is the line of sight: a turn rolls the picture.
  const std::string above = "cameras.gltf --eye 0,0,3 --up 0,0,1";
  EXPECT_EQ(Render(above).rgba, upright.rgba);
  EXPECT_NE(Render(above + " --turntable 4 --frames 2").rgba, upright.rgba);
  fs::remove(Path("out.png"));
  ExpectRefused("render cameras.gltf -o out.png --camera Clsoe", 2,
                {"did you mean Close?", "Away"});
}

TEST_F(Pictures, InParallelProjectionKeepSizesOverDepth) {
  const auto share = [&](const std::string& more) {
    const Pixels pixels = Render("squares.obj --no-background --view front " + more);
    return pixels.Sum(3, 0, 48) / pixels.Sum(3, 48, 96);
  };
  EXPECT_NEAR(share("--parallel"), 1, 0.02);
  EXPECT_LT(share(""), 0.8) << "the left square is farther away";
}

TEST_F(Pictures, AreFilteredAnisotropicallyInSoftwareOnlyByWish) {
  Pixels checks{64, 64, std::vector<unsigned char>(std::size_t{64} * 64 * 4, 255)};
  for (std::size_t i = 0; i < std::size_t{64} * 64; ++i) {
    if ((i + i / 64) % 2 != 0) checks.rgba[4 * i] = 0;
  }
  WritePng(Path("checks.png"), checks);
  Write("floor.mtl", "newmtl checked\nmap_Kd checks.png\n");
  Write("floor.obj",
        "mtllib floor.mtl\nv -1 0 -1\nv -1 0 1\nv 1 0 1\nv 1 0 -1\nvt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\n"
        "vn 0 1 0\nusemtl checked\nf 1/1/1 2/2/1 3/3/1 4/4/1\n");
  Write("off.ini", "[OpenGL3]\nAnisotropic = 0\n");
  Write("on.ini", "[OpenGL3]\nAnisotropic = 1\n");
  const auto floor = [&](const std::string& settings, bool* isSoftware) {
    Gl3Setup setup;
    if (!settings.empty()) setup.environment = {"GL3_REGISTRY=" + Path(settings).string()};
    const std::string report =
        Done("render floor.obj -o floor.png -s 96x64 --eye 0,0.2,2 --json", setup);
    *isSoftware = nlohmann::json::parse(report)["software"];
    return ReadPng(Path("floor.png")).rgba;
  };
  bool isSoftware = false;
  const auto plain = floor("", &isSoftware);
  EXPECT_EQ(plain, floor(isSoftware ? "off.ini" : "on.ini", &isSoftware));
  if (isSoftware) {
    EXPECT_NE(plain, floor("on.ini", &isSoftware));
  }
}

TEST_F(Pictures, MergeSeveralModels) {
  const auto render = [&](const std::string& line) {
    return nlohmann::json::parse(Done("render --json -s 32x32 squares.obj " + line));
  };
  const auto first = render("-o one.png");
  const auto second = render("cameras.gltf -o two.png --effect tint");
  EXPECT_EQ(first["triangles"], 4);
  EXPECT_EQ(second["triangles"], 5);
  EXPECT_EQ(second["output"], "two.png");
  EXPECT_GT(second["peakMemoryBytes"], 1 << 20);
  double sum = 0;
  for (const char* step : {"start", "import", "upload", "draw", "readBack", "effects", "write"}) {
    const double time = second["milliseconds"][step];
    EXPECT_GE(time, 0) << step;
    sum += time;
  }
  EXPECT_GT(second["milliseconds"]["draw"], 0);
  EXPECT_GT(second["milliseconds"]["effects"], 0);
  EXPECT_EQ(first["milliseconds"]["effects"], 0);
  EXPECT_LE(sum, second["milliseconds"]["total"]);
  EXPECT_TRUE(Holds(InfoOf("two.png"), {"gl3:input2: \"cameras.gltf"}));
  // Where pixels are drawn on the processor there is no other device to ask for.
  if (first["software"]) {
    // Mesa loses a few bytes with a display that turns out not to fit.
    ExpectRefused("render squares.obj -o one.png --device gpu", 4, {"--device gpu", "; "},
                  {.environment = {"ASAN_OPTIONS=detect_leaks=0"}});
  }
}

TEST_F(Pictures, NeedNothingFromTheEnvironment) {
  const Gl3Setup bare = {
      .environment = {"HOME=", "LANG=", "XDG_CONFIG_HOME=", "GL3_REGISTRY=", "DISPLAY="},
      .closeStandardStreams = true};
  EXPECT_EQ(Run("render squares.obj -o out.png --json", bare).status, 0);
  EXPECT_FALSE(ReadPng(Path("out.png")).IsConstant());
  Gl3Process elsewhere("/proc", m_logs, {"render", Path("squares.obj"), "-o", Path("b.png")});
  EXPECT_EQ(elsewhere.Finish().status, 0) << "a working directory that cannot be written to";
}

TEST_F(Pictures, ComeWithHelpAndVersion) {
  EXPECT_TRUE(Holds(Done("--help"), {"render"}));
  EXPECT_TRUE(Holds(Done("render --help"), {"--antialias"}));
  EXPECT_EQ(Done("--version").rfind("gl3 ", 0), 0u);
}

}  // namespace
