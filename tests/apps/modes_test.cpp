// `gl3 render` with the options of drawing: what they do to the files.
#include <Imath/ImathVec.h>
#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfInputFile.h>
#include <OpenEXR/ImfStringAttribute.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "tests/support/common/gl3_process.h"

namespace fs = std::filesystem;

namespace {

constexpr int kModeWidth = 96, kModeHeight = 64;

using Channels = std::map<std::string, std::vector<float>>;

/// All channels of an OpenEXR file of that size; throws when there is none.
Channels ReadExr(const fs::path& path) {
  Imf::InputFile file(path.c_str());
  Channels channels;
  Imf::FrameBuffer frame;
  const Imf::ChannelList& list = file.header().channels();
  for (auto it = list.begin(); it != list.end(); ++it) {
    std::vector<float>& values = channels[it.name()];
    values.resize(kModeWidth * kModeHeight);
    frame.insert(it.name(), Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(values.data()),
                                       sizeof(float), sizeof(float) * kModeWidth));
  }
  file.setFrameBuffer(frame);
  file.readPixels(0, kModeHeight - 1);
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

  // Values as they are drawn can be compared by their differences.
  const std::string m_render = "render squares.obj -o out.exr -s 96x64 --exr-encoding display ";
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
  Done("render -q --like out.exr -o again.exr");
  EXPECT_EQ(ReadExr(Path("again.exr")).at("G"), all);
  // They stand where they are told to.
  Done(
      "render squares.obj -qo logo.png -s 20x12 --background red --eye 0,0,50 "
      "--target 0,0,99");  // nothing but red
  const Channels laid = Render("--overlay logo.png,7,40,0.25");
  for (int i = 0; i < kModeWidth * kModeHeight; ++i) {
    const int x = i % kModeWidth, y = i / kModeWidth;
    const bool isLogo = x >= 7 && x < 27 && y >= 40 && y < 52;
    const float red = plain.at("R")[i], green = plain.at("G")[i];
    EXPECT_NEAR(laid.at("R")[i], isLogo ? 0.75f * red + 0.25f : red, 0.005) << x << ", " << y;
    EXPECT_NEAR(laid.at("G")[i], isLogo ? 0.75f * green : green, 0.005) << x << ", " << y;
  }
  // Another mode comes without what only the recipe's had.
  for (const char* mode : {"shaded", "wireframe-gl"}) {
    Done({"render", "-q", "--like", "out.exr", "-o", "again.exr", "--mode", mode});
  }
  const std::vector<float> edged = Render("--edges --line-color 0,1,0").at("G");
  EXPECT_NE(edged, plain.at("G"));
  Done("render -q --like out.exr -o again.exr --mode points");
  Done("render -q --like out.exr -o again.exr --mode shaded");
  EXPECT_EQ(ReadExr(Path("again.exr")).at("G"), edged);
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

  const std::string turn = "render squares.obj -s 96x64 -o p_##.png --turntable 2 --depth d_##.exr";
  Done(turn);
  EXPECT_TRUE(fs::exists(Path("d_01.exr")));
  ASSERT_TRUE(fs::remove(Path("d_02.exr")));  // a shot is there when all of its files are
  Done(turn + " --skip-existing");
  EXPECT_TRUE(fs::exists(Path("d_02.exr")));
}

TEST_F(Modes, WritePasses) {
  const std::string passes = "--passes z,normal,object,material --antialias 3 ";
  const Channels straight = Render("--eye 0,0,5 --target 0,0,0 " + passes);
  ASSERT_EQ(straight.size(), 4 + 1 + 3 + 2u);
  const Channels depth = Render("--eye 0,0,5 --target 0,0,0 --depth out.exr");
  EXPECT_EQ(straight.at("Z"), depth.at("Z"));
  // The corner of the picture sees nothing, the far square lies left of the near one.
  std::set<float> objects[2];
  for (int i = 0; i < kModeWidth * kModeHeight; ++i) {
    const float z = straight.at("Z")[i], object = straight.at("objectid")[i];
    const bool isSeen = z != 1e30f;
    EXPECT_EQ(straight.at("materialid")[i], isSeen) << i;
    EXPECT_NEAR(straight.at("N.Z")[i], isSeen, 1e-5) << i;
    EXPECT_NEAR(straight.at("N.X")[i], 0, 1e-5) << i;
    if (isSeen) objects[z > 5].insert(object);
    EXPECT_EQ(object > 0, isSeen) << i;
  }
  // From the right, 45 degrees beside the squares' normal, and from behind.
  const float side = std::sqrt(0.5f);
  for (const auto& [eye, x] : {std::pair("5,0,5", -side), {"5,0,-5", side}}) {
    const Channels turned = Render(std::string("--target 0,0,0 --passes normal --eye ") + eye);
    int seen = 0;
    for (int i = 0; i < kModeWidth * kModeHeight; ++i) {
      if (turned.at("N.Z")[i] == 0) continue;
      ++seen;
      EXPECT_NEAR(turned.at("N.X")[i], x, 1e-4) << i;
      EXPECT_NEAR(turned.at("N.Y")[i], 0, 1e-4) << i;
      EXPECT_NEAR(turned.at("N.Z")[i], side, 1e-4) << i;
    }
    EXPECT_GT(seen, 50) << eye;
  }
  ExpectRefused("render squares.obj -o o.png --passes z", 2, {"--passes", "o.png", ".exr"});
  ExpectRefused("render squares.obj -o o.exr --passes z,y", 2,
                {"--passes", "y is not a pass", "normal"});
}

TEST_F(Modes, PassesTellObjectsMaterialsAndSmoothNormals) {
  // Two objects beside each other, of a material each; the normals of the left one lean outwards.
  Write("two.mtl", "newmtl red\nKd 1 0 0\nnewmtl blue\nKd 0 0 1\n");
  Write("two.obj",
        "mtllib two.mtl\no left\nv -2 -1 0\nv 0 -1 0\nv 0 1 0\nv -2 1 0\n"
        "vn -0.6 0 0.8\nvn 0.6 0 0.8\nusemtl red\nf 1//1 2//2 3//2 4//1\n"
        "o right\nv 0 -1 0\nv 2 -1 0\nv 2 1 0\nv 0 1 0\nvn 0 0 1\nusemtl blue\n"
        "f 5//3 6//3 7//3 8//3\n");
  Done(
      "render two.obj -o out.exr -s 96x64 --passes normal,object,material --parallel --view front");
  const Channels seen = ReadExr(Path("out.exr"));
  const auto at = [&](const char* channel, int x) { return seen.at(channel)[32 * kModeWidth + x]; };
  int first = 0, end = kModeWidth;
  while (at("objectid", first) == 0) ++first;
  while (at("objectid", end - 1) == 0) --end;
  const float middle = (first + end) / 2.0f;
  ASSERT_GT(end - first, 40);
  EXPECT_NE(at("objectid", first), at("objectid", end - 1));
  EXPECT_NE(at("materialid", first), at("materialid", end - 1));
  for (int x = first + 2; x < end - 2; ++x) {
    // Between the corners' normals, one unit long.
    const float share = (x + 0.5f - first) / (middle - first);
    const Imath::V3f wanted =
        share < 1 ? Imath::V3f(1.2f * share - 0.6f, 0, 0.8f).normalized() : Imath::V3f(0, 0, 1);
    if (std::abs(share - 1) < 0.1f) continue;  // where they meet
    EXPECT_NEAR(at("N.X", x), wanted.x, 0.05) << x;
    EXPECT_NEAR(at("N.Z", x), wanted.z, 0.05) << x;
  }
  Imf::InputFile file(Path("out.exr").c_str());
  const auto text = [&](const char* name) {
    return file.header().typedAttribute<Imf::StringAttribute>(name).value();
  };
  const auto names = nlohmann::json::parse(text("gl3:materials"));
  EXPECT_EQ(names[static_cast<std::size_t>(at("materialid", first)) - 1], "red");
  EXPECT_EQ(names[static_cast<std::size_t>(at("materialid", end - 1)) - 1], "blue");
  const auto objects = nlohmann::json::parse(text("gl3:objects"));
  EXPECT_EQ(objects[static_cast<std::size_t>(at("objectid", first)) - 1], "left");
}

/// None of our calls is wrong, and checking them changes nothing.
TEST_F(Modes, AreTheSameWhenCallsAreChecked) {
  const Gl3Setup checked = {.environment = {"GL3_CHECK=1"}};
  for (const char* more : {"", "--grid --fog 1,9 --text a", "--mode points --antialias 2"}) {
    const Channels plain = Render(more);
    EXPECT_EQ(Done(m_render + more, checked), "");
    EXPECT_EQ(ReadExr(Path("out.exr")), plain) << more;
  }
  // What is told reaches standard error, for one that there is nobody to tell it.
  const Gl3Setup copy = {.environment = {"GL3_CHECK=1", "GL3_MODULE_PATH=" GL3_LIB_DIR},
                         .program = CopyOfTheProgram(m_base / "copy")};
  for (const auto& entry : fs::directory_iterator(m_base / "copy/lib/gl3")) {
    if (entry.path().stem().string().starts_with("libgl3checking")) fs::remove(entry);
  }
  EXPECT_EQ(Run(m_render, copy).err.find("GL3_CHECK: nothing is checked: "), 0u);
}

}  // namespace
