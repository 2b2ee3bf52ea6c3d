// `gl3 render` with the options of drawing: what they do to the files, and what they refuse.
#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfInputFile.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "tests/support/common/gl3_process.h"

namespace fs = std::filesystem;

namespace {

constexpr int kWidth = 96, kHeight = 64;

using Channels = std::map<std::string, std::vector<float>>;

/// All channels of an OpenEXR file of that size; throws when there is none.
Channels ReadExr(const fs::path& path) {
  Imf::InputFile file(path.c_str());
  Channels channels;
  Imf::FrameBuffer frame;
  const Imf::ChannelList& list = file.header().channels();
  for (auto it = list.begin(); it != list.end(); ++it) {
    std::vector<float>& values = channels[it.name()];
    values.resize(kWidth * kHeight);
    frame.insert(it.name(), Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(values.data()),
                                       sizeof(float), sizeof(float) * kWidth));
  }
  file.setFrameBuffer(frame);
  file.readPixels(0, kHeight - 1);
  return channels;
}

class Modes : public Gl3Test {
 protected:
  Modes() { Write("squares.obj", kSquaresObj); }

  static std::vector<std::string> With(const std::vector<std::string>& more) {
    std::vector<std::string> arguments = {"render", "squares.obj", "-o", "out.exr", "-s", "96x64"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  }
  /// The picture's channels, drawn without a word.
  Channels Render(const std::vector<std::string>& more) const {
    const Gl3Result result = Run(With(more));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out + result.err, "");
    return ReadExr(Path("out.exr"));
  }
};

TEST_F(Modes, AreAllDifferent) {
  std::map<std::string, std::vector<float>> seen;
  for (const char* mode : {"shaded", "wireframe", "wireframe-gl", "lines", "points"}) {
    for (const char* antialias : {"1", "2"}) {
      const Channels channels = Render({"--mode", mode, "--antialias", antialias});
      for (const auto& [other, values] : seen) EXPECT_NE(channels.at("R"), values) << mode << other;
      seen[std::string(mode) + antialias] = channels.at("R");
    }
  }
  // Two flat squares have one colour a triangle as it is.
  EXPECT_EQ(Render({"--mode", "flat", "--lights", "headlight"}).at("R"),
            Render({"--lights", "headlight"}).at("R"));
  // The driver's outlines: a square's middle beside its diagonal shows the background.
  const std::vector<float>& shaded = seen["shaded1"];
  const std::vector<float>& outlines = seen["wireframe-gl1"];
  const auto background = [&](const std::vector<float>& values) {
    return std::count(values.begin(), values.end(), values.front());
  };
  EXPECT_GT(background(outlines), background(shaded) + 300);
}

TEST_F(Modes, AddWhatIsAskedForAndRepeatIt) {
  const Channels plain = Render({});
  Write("logo.png", "");
  ASSERT_EQ(Run({"render", "squares.obj", "-o", "logo.png", "-s", "20x20"}).status, 0);
  const std::vector<std::string> additions[] = {{"--grid"},
                                                {"--grid=0.1"},
                                                {"--control-points"},
                                                {"--control-points=6"},
                                                {"--fog", "0.1,9"},
                                                {"--fog", "exp:0.3"},
                                                {"--fog", "exp:0.3,red"},
                                                {"--text", "Text,9,9"},
                                                {"--text", "Größe"},
                                                {"--text", "a\nb"},
                                                {"--overlay", "logo.png,5,5,0.5"},
                                                {"--overlay", "logo.png"}};
  std::vector<std::vector<float>> seen = {plain.at("G")};
  for (const std::vector<std::string>& addition : additions) {
    seen.push_back(Render(addition).at("G"));
    EXPECT_EQ(std::count(seen.begin(), seen.end(), seen.back()), 1) << addition.back();
  }
  const std::vector<float> all =
      Render({"--grid=0.2", "--control-points=2", "--fog", "1,9", "--text", "one, two,3,4,#f00",
              "--text", "three", "--overlay", "logo.png,70,40,0.25", "--mode", "lines", "--crease",
              "20", "--line-color", "0,0.5,1"})
          .at("G");
  ASSERT_EQ(Run({"render", "--like", "out.exr", "-o", "again.exr"}).status, 0);
  EXPECT_EQ(ReadExr(Path("again.exr")).at("G"), all);
  // They stand where they are told to.
  Run({"render", "squares.obj", "-o", "logo.png", "-s", "20x12", "--background", "red", "--eye",
       "0,0,50", "--target", "0,0,99"});  // nothing but red
  const Channels laid = Render({"--overlay", "logo.png,7,40,0.25"});
  const Channels written = Render({"--text", "Text,60,9,#f00", "--background", "black"});
  const Channels black = Render({"--background", "black"});
  int letters = 0;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const std::size_t i = static_cast<std::size_t>(y) * kWidth + x;
      const bool isLogo = x >= 7 && x < 27 && y >= 40 && y < 52;
      const float red = plain.at("R")[i], green = plain.at("G")[i];
      EXPECT_NEAR(laid.at("R")[i], isLogo ? 0.75f * red + 0.25f : red, 0.005) << x << ", " << y;
      EXPECT_NEAR(laid.at("G")[i], isLogo ? 0.75f * green : green, 0.005) << x << ", " << y;
      if (written.at("R")[i] == black.at("R")[i]) continue;
      ++letters;
      EXPECT_TRUE(x >= 60 && y >= 9 && y < 22) << x << ", " << y;
      EXPECT_LE(written.at("B")[i], black.at("B")[i]);
    }
  }
  EXPECT_GT(letters, 20);
  // Another mode comes without what only the recipe's had.
  for (const char* mode : {"shaded", "wireframe-gl"}) {
    const Gl3Result other = Run({"render", "--like", "out.exr", "-o", "again.exr", "--mode", mode});
    EXPECT_EQ(other.status, 0) << other.err;
  }
  ExpectRefused({"render", "--like", "out.exr", "-o", "again.exr", "--mode", "flat", "--crease=9"},
                2, {"--crease: ", "--mode lines"});
}

TEST_F(Modes, SayWhenThereIsNoFont) {
  Write("fonts.conf", "<?xml version=\"1.0\"?><fontconfig></fontconfig>");
  Gl3Setup setup;
  setup.environment = {"FONTCONFIG_FILE=" + Path("fonts.conf").string()};
  const Gl3Result result = Run(With({"--text", "Text"}), setup);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err.rfind("gl3: --text: no font found; ", 0), 0u) << result.err;
  EXPECT_EQ(Run(With({}), setup).err, "");
}

TEST_F(Modes, WriteDistances) {
  const std::vector<std::string> view = {"--eye", "0,0,5", "--target", "0,0,0"};
  const auto with = [&](std::vector<std::string> more) {
    more.insert(more.end(), view.begin(), view.end());
    return Render(more);
  };
  const Channels plain = with({}), beside = with({"--depth", "z.EXR"});
  EXPECT_EQ(beside, plain) << "the picture is the same";
  const Channels depth = ReadExr(Path("z.EXR"));
  ASSERT_EQ(depth.size(), 1u);
  const std::vector<float>& z = depth.at("Z");
  EXPECT_EQ(z.front(), 1e30f);
  int covered[2] = {};
  for (const float value : z) {  // both squares are parallel to the picture
    if (value == 1e30f) continue;
    const bool isFar = value > 5;
    ++covered[isFar];
    EXPECT_NEAR(value, isFar ? 8 : 2, 1e-3);
  }
  EXPECT_GT(covered[0], covered[1]);
  EXPECT_GT(covered[1], 0);
  const Channels together = with({"--depth", "out.exr"});
  EXPECT_EQ(together.size(), 5u);
  EXPECT_EQ(together.at("Z"), z);
  EXPECT_EQ(together.at("R"), plain.at("R"));

  ASSERT_EQ(Run(With({"-o", "p_##.png", "--turntable", "2", "--depth", "d_##.exr"})).status, 0);
  EXPECT_TRUE(fs::exists(Path("d_01.exr")) && fs::exists(Path("d_02.exr")));
  fs::remove(Path("d_02.exr"));  // a shot is there when all of its files are
  ASSERT_EQ(
      Run(With({"-o", "p_##.png", "--turntable", "2", "--depth", "d_##.exr", "--skip-existing"}))
          .status,
      0);
  EXPECT_TRUE(fs::exists(Path("d_02.exr")));
}

TEST_F(Modes, RefuseWhatMeansNothing) {
  Write("text.png", "not a picture");
  const struct {
    std::vector<std::string> arguments;
    int status;
    std::vector<std::string> parts;
  } cases[] = {
      {{"--line-color", "red"}, 2, {"--line-color: ", "--mode wireframe"}},
      {{"--overlay", "text.png,1,2,1.5"}, 2, {"--overlay: ", "1.5", "0 (clear) to 1"}},
      {{"--overlay", "missing.png,1,2"}, 3, {"--overlay: ", "missing.png", "; "}},
      {{"--overlay", "text.png"}, 3, {"--overlay: ", "text.png", "; "}},
      {{"--depth", "missing/z.exr"}, 5, {"missing/z.exr", "; "}},
  };
  for (const auto& [arguments, status, parts] : cases) {
    ExpectRefused(With(arguments), status, parts);
  }
}

}  // namespace
