// `gl3 render` with the options of drawing: what they do to the files.
#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfInputFile.h>

#include <algorithm>
#include <map>

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

  /// The picture's channels, drawn without a word.
  Channels Render(const std::string& more) const {
    EXPECT_EQ(Done(m_render + more), "");
    return ReadExr(Path("out.exr"));
  }

  const std::string m_render = "render squares.obj -o out.exr -s 96x64 ";
};

TEST_F(Modes, AddWhatIsAskedForAndRepeatIt) {
  const Channels plain = Render("");
  std::vector<std::vector<float>> seen = {plain.at("G")};
  for (const char* more :
       {"--antialias 1", "--mode wireframe-gl", "--mode wireframe-gl --antialias 1", "--grid",
        "--grid=0.1", "--fog exp:0.3", "--fog exp:0.3,red", "--text ö", "--text '?'"}) {
    seen.push_back(Render(more).at("G"));
    EXPECT_EQ(std::count(seen.begin(), seen.end(), seen.back()), 1) << more;
  }
  EXPECT_EQ(Render("--text a --text 'b\nc'"), Render("--text a,8,8 --text b,8,22 --text c,8,36"));
  Done("render squares.obj -o logo.png -s 20x20");
  const std::vector<float> all =
      Render(
          "--grid=0.2 --control-points=2 --fog 1,9 --text 'one, two,3,4,#f00' --text three "
          "--overlay logo.png,70,40,0.25 --mode lines --crease 20 --line-color 0,0.5,1")
          .at("G");
  Done("render --like out.exr -o again.exr");
  EXPECT_EQ(ReadExr(Path("again.exr")).at("G"), all);
  // They stand where they are told to.
  Done(
      "render squares.obj -qo logo.png -s 20x12 --background red --eye 0,0,50 "
      "--target 0,0,99");  // nothing but red
  const Channels laid = Render("--overlay logo.png,7,40,0.25");
  for (int i = 0; i < kWidth * kHeight; ++i) {
    const int x = i % kWidth, y = i / kWidth;
    const bool isLogo = x >= 7 && x < 27 && y >= 40 && y < 52;
    const float red = plain.at("R")[i], green = plain.at("G")[i];
    EXPECT_NEAR(laid.at("R")[i], isLogo ? 0.75f * red + 0.25f : red, 0.005) << x << ", " << y;
    EXPECT_NEAR(laid.at("G")[i], isLogo ? 0.75f * green : green, 0.005) << x << ", " << y;
  }
  // Another mode comes without what only the recipe's had.
  for (const char* mode : {"shaded", "wireframe-gl"}) {
    Done({"render", "--like", "out.exr", "-o", "again.exr", "--mode", mode});
  }
  ExpectRefused("render --like out.exr -o again.exr --mode flat --crease=9", 2,
                {"--crease: ", "--mode lines"});
}

TEST_F(Modes, SayWhenThereIsNoFont) {
  Write("fonts.conf", "<?xml version=\"1.0\"?><fontconfig></fontconfig>");
  const Gl3Setup setup = {.environment = {"FONTCONFIG_FILE=" + Path("fonts.conf").string()}};
  const Gl3Result result = Run(m_render + "--text Text", setup);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err.rfind("gl3: --text: no font found; ", 0), 0u) << result.err;
  Done(m_render, setup);
}

TEST_F(Modes, WriteDistances) {
  const std::string view = "--eye 0,0,5 --target 0,0,0 ";
  const Channels plain = Render(view), beside = Render(view + "--depth z.EXR");
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
  const Channels together = Render(view + "--depth out.exr");
  EXPECT_EQ(together.size(), 5u);
  EXPECT_EQ(together.at("Z"), z);
  EXPECT_EQ(together.at("R"), plain.at("R"));

  const std::string turn = m_render + "-o p_##.png --turntable 2 --depth d_##.exr";
  Done(turn);
  EXPECT_TRUE(fs::exists(Path("d_01.exr")));
  ASSERT_TRUE(fs::remove(Path("d_02.exr")));  // a shot is there when all of its files are
  Done(turn + " --skip-existing");
  EXPECT_TRUE(fs::exists(Path("d_02.exr")));
}

/// What the renderer is told wrongly is told on standard error, and changes nothing.
TEST_F(Modes, AreTheSameWhenCallsAreChecked) {
  const Gl3Setup checked = {.environment = {"GL3_CHECK=1"}};
  for (const char* more : {"", "--grid --fog 1,9 --text a", "--mode points --antialias 2"}) {
    const Channels plain = Render(more);
    EXPECT_EQ(Done(m_render + more, checked), "");
    EXPECT_EQ(ReadExr(Path("out.exr")), plain) << more;
  }
  EXPECT_EQ(Run(m_render + "--text a,-9,8", checked).err.find("GL3_CHECK: text-outside: "), 0u);
}

}  // namespace
