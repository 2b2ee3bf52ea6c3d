// `gl3 filter`: refusals, kinds of pictures, conversions, names of outputs, comparing, and effects
// of `gl3 render`.
#include <Imath/half.h>
#include <OpenEXR/ImfRgbaFile.h>

#include <cmath>
#include <csignal>
#include <nlohmann/json.hpp>

#include "tests/support/common/gl3_process.h"
#include "tests/support/common/holds.h"
#include "tests/support/common/png_pixels.h"

namespace fs = std::filesystem;

namespace {

using Rgba = std::vector<unsigned char>;

constexpr int kRowWidth = 13, kRowHeight = 7;

/// A picture in which no pixel is like another; alpha from nearly transparent to opaque.
Rgba Colors(bool hasAlpha) {
  Rgba rgba;
  for (int i = 0; i < kRowWidth * kRowHeight; ++i) {
    const auto at = [&](int factor) { return static_cast<unsigned char>(i * factor % 256); };
    rgba.insert(rgba.end(), {at(2), at(37), at(91), hasAlpha ? at(2) : at(0)});
    if (!hasAlpha || i % 3 == 0) rgba.back() = 255;
  }
  return rgba;
}

/// A file of one pixel, uncompressed.
std::string Tga(const char* bgr) {
  return std::string("\0\0\2\0\0\0\0\0\0\0\0\0\1\0\1\0\x18\0", 18) + std::string(bgr, 3);
}

class Filters : public Gl3Test {
 protected:
  Filters() {
    WritePng(Path("a.png"), {kRowWidth, kRowHeight, Colors(false)});
    WritePng(Path("cut.png"), {kRowWidth, kRowHeight, Colors(true)});
  }

  Rgba ReadPng(const std::string& name) const { return ::ReadPng(Path(name)).rgba; }

  /// "large.png", which takes a while.
  void WriteLarge() const {
    constexpr int kSide = 2000;
    ::WritePng(Path("large.png"), {kSide, kSide, Rgba(std::size_t{4} * kSide * kSide)});
  }

  /// Runs `gl3 filter`, which is to succeed without a word.
  void Filter(const std::string& line) const { EXPECT_EQ(Done("filter " + line), ""); }
};

TEST_F(Filters, AreRefusedInOneLineWithTheRemedy) {
  ExpectRefused("filter a.png --verify", 2, {"--verify", "add --effect"});
  ExpectRefused("filter a.png -o b.png --size 0x5", 2, {"0x5", "1920x1080"});
  ExpectRefused("filter a.png -o b.png --size 32768x", 3, {"a.png: scaled to 32768 x"});
  ExpectRefused("filter a.png --effect tint", 2, {"--output", "--verify"});
  ExpectRefused("filter a.png --effect tint -o b.gif", 2,
                {"b.gif", ".png, .exr, .jpg, .jpeg, .webp, .tif, .tiff, .ppm"});
  ExpectRefused("filter a.png --effect tint -o nowhere/b.png", 5, {"nowhere", "create it first"});
  ExpectRefused("filter a.png --effect tint -o b.png --module no.so", 4, {"no.so"});
  fs::create_directories(Path("sub"));
  Write("broken.png", "\x89PNG\r\n\x1a\n and no more");
  Write("broken.exr", "\x76\x2f\x31\x01\x02");
  Write("empty.png", "");
  ExpectRefused("filter a.png -o b.png -o c.png", 2, {"--output", "b.png", "c.png", "give one"});
  const std::string start("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16);
  for (const auto& [sides, part] : {std::pair(std::string("\0\0\0\0\0\0\0\1", 8), "0 x 1 pixels"),
                                    {"\x7f\xff\xff\xff\x7f\xff\xff\xff", "2147483647 x 2147483647"},
                                    {"", "ends early"}}) {
    Write("none.png", start + sides + (sides.empty() ? "" : std::string("\x8\6\0\0\0", 5)));
    ExpectRefused("filter none.png -o b.png --effect tint", 3, {"none.png", part, "; "});
  }
  ExpectRefused("filter /proc/cpuinfo -o b.png", 3, {"/proc/cpuinfo", "kernel"});
  for (const char* name : {"missing.png", "broken.png", "broken.exr", "empty.png", "sub"}) {
    ExpectRefused({"filter", name, "-o", "b.png", "--effect", "tint"}, 3, {name, "; "});
  }
}

TEST_F(Filters, ReadAndWriteEveryKind) {
  // Twice the negative is the picture again.
  const std::string nothing = " --effect negative:passes=2";
  for (const bool hasAlpha : {false, true}) {
    Filter((hasAlpha ? "cut.png" : "a.png") + (" -o b.exr" + nothing));
    Filter("b.exr -o c.png" + nothing);
    EXPECT_EQ(ReadPng("c.png"), Colors(hasAlpha)) << hasAlpha;
  }
  Filter("a.png -o b.jpg --quality 100" + nothing);
  Filter("b.jpg -o b.png" + nothing);
  EXPECT_EQ(ReadPng("b.png").size(), Colors(false).size());
  // One red pixel in the other kinds.
  Write("red.tga", Tga("\0\0\xff"));
  Write("red.bmp", std::string("BM\x3a\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\1\0\0\0\1\0\0\0\1\0\x18\0"
                               "\0\0\0\0\4\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0",
                               54) +
                       std::string("\0\0\xff\0", 4));
  Write("red.hdr", "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 +X 1\n" +
                       std::string("\x80\0\0\x81", 4));  // a red of 1
  for (const char* name : {"red.tga", "red.bmp", "red.hdr"}) {
    Filter(name + (" -o red.png" + nothing));
    EXPECT_EQ(ReadPng("red.png"), (Rgba{255, 0, 0, 255})) << name;
  }
}

/// A converter needs no renderer.
constexpr const char* kNoModule = " --module no.so";

TEST_F(Filters, ConvertWithoutEffects) {
  for (const bool hasAlpha : {false, true}) {
    for (const std::string name : {"b.tif", "b.webp", "b.exr", "b.png", "b.ppm"}) {
      Filter((hasAlpha ? "cut.png -o " : "a.png -o ") + name + " --quality 100" + kNoModule);
      Filter(name + " -o c.png" + kNoModule);
      if (name != "b.ppm") {
        EXPECT_EQ(ReadPng("c.png"), Colors(hasAlpha)) << name << hasAlpha;
        continue;
      }
      const Rgba straight = Colors(hasAlpha), onBlack = ReadPng("c.png");
      for (std::size_t i = 0; i < straight.size(); ++i) {
        const int alpha = straight[i / 4 * 4 + 3];
        EXPECT_NEAR(onBlack[i], i % 4 == 3 ? 255 : straight[i] * alpha / 255.0, 0.7) << i;
      }
    }
  }
  EXPECT_TRUE(Read("b.ppm").starts_with("P6\n# gl3:command: gl3 filter cut.png -o b.ppm"));
  Write("ramp.pgm", "P2 4 2 255 0 0 200 200 0 0 200 200");
  for (const auto& [size, width, height] :
       {std::tuple("2x1", 2, 1), {"x1", 2, 1}, {"2x", 2, 1}, {"8x3", 8, 3}}) {
    Filter(std::string("ramp.pgm -o small.png --size ") + size);
    const Pixels small = ::ReadPng(Path("small.png"));
    EXPECT_EQ(small.width, width) << size;
    EXPECT_EQ(small.height, height) << size;
    EXPECT_NEAR(small.rgba[4 * (width - 1)], 200, 25) << size;
  }
  Filter("ramp.pgm -o small.png --size 2x --effect negative");
  EXPECT_NEAR(ReadPng("small.png")[0], 255, 25);
}

TEST_F(Filters, WriteLinearLightOrWhatIsShown) {
  for (const std::string code : {"", " --exr-encoding linear", " --exr-encoding display"}) {
    Filter("a.png -o b.exr" + code);
    Imf::RgbaInputFile file(Path("b.exr").c_str());
    std::vector<Imf::Rgba> pixels(kRowWidth * kRowHeight);
    file.setFrameBuffer(pixels.data(), 1, kRowWidth);
    file.readPixels(0, kRowHeight - 1);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
      const double shown = Colors(false)[4 * i + 1] / 255.0;
      // IEC 61966-2-1.
      const double light =
          shown <= 0.04045 ? shown / 12.92 : std::pow((shown + 0.055) / 1.055, 2.4);
      EXPECT_NEAR(pixels[i].g, code.ends_with("display") ? shown : light, 0.001) << i << code;
    }
    Filter("b.exr -o c.png");
    EXPECT_EQ(ReadPng("c.png"), Colors(false)) << code;
  }
}

TEST_F(Filters, TurnPicturesUpright) {
  // Exif data with the one entry that says that the first row is seen on the right, from above.
  const std::string exif("MM\0*\0\0\0\x08\0\1\1\x12\0\3\0\0\0\1\0\6\0\0\0\0\0\0", 26);
  Write(
      "flat.ppm", "P3 16 8 255" + [] {
        std::string rows;
        for (int i = 0; i < 16 * 8; ++i) rows += i % 16 < 8 ? " 255 0 0" : " 0 0 255";
        return rows;
      }());
  Filter("flat.ppm -o flat.jpg --quality 100 --recipe none");
  Filter("flat.ppm -o flat.png --recipe none");
  std::string jpeg = Read("flat.jpg"), png = Read("flat.png");
  jpeg.insert(2, std::string("\xff\xe1\0\x22", 4) + std::string("Exif\0\0", 6) + exif);
  png.insert(33, std::string("\0\0\0\x1a", 4) + "eXIf" + exif + "????");
  Write("turned.jpg", jpeg);
  Write("turned.png", png);
  for (const char* name : {"turned.jpg", "turned.png"}) {
    Filter(std::string(name) + " -o up.png");
    const Pixels up = ::ReadPng(Path("up.png"));
    ASSERT_EQ(up.width, 8) << name;
    ASSERT_EQ(up.height, 16) << name;
    EXPECT_GT(up.rgba[4 * 8 * 4], 200) << name << ": red is above";
    EXPECT_GT(up.rgba[4 * 8 * 12 + 2], 200) << name << ": blue is below";
  }
}

TEST_F(Filters, EncodeLinearLightAndSayWhatTheyCut) {
  // Scene-linear, with a data window inside the display window and colours times alpha.
  // The row starts at the display window's edge, one pixel before the data.
  const Imf::Rgba row[] = {{}, {0.5f, 0, 0, 1}, {0.25f, 0.25f, 0, 0.5f}, {0, 3, 0, 1}};
  {
    Imf::RgbaOutputFile file(Path("light.exr").c_str(), Imath::Box2i({0, 0}, {4, 0}),
                             Imath::Box2i({1, 0}, {3, 0}), Imf::WRITE_RGBA);
    file.setFrameBuffer(row, 1, 4);
    file.writePixels(1);
  }
  for (const char* name : {"one.exr", "two.exr"}) fs::copy(Path("light.exr"), Path(name));
  const Gl3Result result =
      Run("filter one.exr two.exr -o out##.png --effect negative --effect negative");
  EXPECT_EQ(result.status, 0);
  EXPECT_TRUE(Holds(result.err, {"one.exr: colours above 1"}));
  EXPECT_FALSE(Holds(result.err, {"two.exr"})) << "a warning twice: " << result.err;
  Filter("one.exr -o q.png --effect negative -q");
  // Converted, all of it stays, unless the kind holds none of it.
  Filter("one.exr -o whole.exr");
  Imf::RgbaInputFile whole(Path("whole.exr").c_str());
  Imf::Rgba pixels[5];
  whole.setFrameBuffer(pixels, 1, 5);
  whole.readPixels(0);
  for (int i = 1; i < 4; ++i) {
    EXPECT_NEAR(pixels[i].r, row[i].r, 0.002) << i;
    EXPECT_NEAR(pixels[i].g, row[i].g, 0.01) << i;
    EXPECT_EQ(pixels[i].a, row[i].a) << i;
  }
  EXPECT_TRUE(Holds(Run("filter one.exr -o cut.webp").err, {"one.exr: colours above 1 were cut"}));
  // 0.5 is encoded as 188; straight, the second pixel is a yellow of 0.5. The first and the last
  // lie outside the data.
  EXPECT_EQ(ReadPng("out02.png"), (Rgba{0, 0,   0, 0,   188, 0, 0, 255, 188, 188, 0, 128,  //
                                        0, 255, 0, 255, 0,   0, 0, 0}));
}

TEST_F(Filters, NameOutputsByPatternAndFolder) {
  fs::create_directories(Path("out"));
  Write("x.tga", Tga("\1\2\3"));
  Filter("a.png x.tga -o out --effect tint");
  Filter("a.png cut.png -o out/%n-%03d.exr --effect tint");
  for (const char* name : {"out/a.png", "out/x.png", "out/a-001.exr", "out/cut-002.exr"}) {
    EXPECT_TRUE(fs::is_regular_file(Path(name))) << name;
  }
  const auto time = fs::last_write_time(Path("out/a.png"));
  Write("out/x.png", "");  // no picture
  const std::string others = "a.png x.tga -o out/ --effect tint --skip-existing";
  Filter(others);
  EXPECT_EQ(ReadPng("out/x.png").size(), 4u);
  EXPECT_EQ(fs::last_write_time(Path("out/a.png")), time);
  const auto nothing = nlohmann::json::parse(Done("filter --json " + others));
  EXPECT_EQ(nothing["skipped"], 2);
  EXPECT_EQ(nothing["milliseconds"]["start"], 0) << "nobody waits for a driver that is not needed";

  Filter("a.png -o a.png --effect negative");
  EXPECT_NE(ReadPng("a.png"), Colors(false)) << "a single picture may be replaced by name";
}

/// The statuses of the pictures in a report.
std::vector<int> Statuses(const nlohmann::json& report) {
  std::vector<int> statuses;
  for (const auto& picture : report["pictures"]) statuses.push_back(picture["status"]);
  return statuses;
}

TEST_F(Filters, GoOnAfterAPictureThatFails) {
  Write("b.png", "no picture");
  const Gl3Result result =
      Run("filter missing.png a.png b.png cut.png -o %n-2.png --effect erode --json");
  EXPECT_EQ(result.status, 3);
  EXPECT_TRUE(Holds(result.err, {"missing.png: no such picture", "b.png: not a"}));
  EXPECT_EQ(Names(), (std::set<std::string>{"a-2.png", "a.png", "b.png", "cut-2.png", "cut.png"}));
  EXPECT_EQ(Statuses(nlohmann::json::parse(result.out)), (std::vector<int>{3, 0, 3, 0}));
}

TEST_F(Filters, GoOnAfterAPictureThatCrashes) {
  WriteLarge();
  Gl3Process process(
      m_work, m_logs,
      "filter a.png large.png cut.png -o %n-2.png --effect blur:passes=20 --json -v");
  ASSERT_TRUE(process.WaitFor("large.png: drawing"));
  ASSERT_GT(process.Child(), 0);
  kill(process.Child(), SIGABRT);
  const Gl3Result result = process.Finish();
  EXPECT_EQ(result.status, 1) << result.err;
  EXPECT_TRUE(Holds(result.err, {"large.png: drawing crashed (Aborted); "}));
  EXPECT_FALSE(Holds(result.err, {"pictures are there"})) << result.err;
  EXPECT_EQ(Names().count("a-2.png") + Names().count("cut-2.png"), 2u);
  const auto report = nlohmann::json::parse(result.out);
  EXPECT_EQ(Statuses(report), (std::vector<int>{0, 1, 0}));
  EXPECT_EQ(report["pictures"][1]["output"], "large-2.png");
  EXPECT_TRUE(Holds(report["pictures"][1]["error"], {"crashed"}));
}

TEST_F(Filters, ThatAreEndedTellWhatIsThere) {
  WriteLarge();
  const auto lastLine = [&](const std::string& more) {
    Gl3Process process(
        m_work, m_logs,
        "filter missing.png a.png cut.png large.png --effect blur:passes=20 -v " + more);
    EXPECT_TRUE(process.WaitFor("large.png: drawing"));
    process.Signal(SIGINT);
    const Gl3Result result = process.Finish();
    EXPECT_EQ(result.status, 128 + SIGINT);
    return LastLine(result.err);
  };
  const std::string last = lastLine("-o %n-2.png");
  EXPECT_EQ(last.rfind("gl3: 2 of 4 pictures are there", 0), 0u) << last;
  EXPECT_EQ(lastLine("--verify"), "gl3: large.png: drawing") << "nothing was written";
}

TEST_F(Filters, CompareWithTheProcessorAndGiveFigures) {
  EXPECT_TRUE(Holds(Done("filter cut.png --verify --effect blur:radius=3 --effect sharpen"),
                    {"cut.png: blur:radius=3,passes=1: largest difference",
                     "sharpen:passes=1: largest difference 0/255, allowed 1/255"}));
  const Gl3Result wrong =
      Run("filter cut.png -o wrong.png --verify --effect sharpen", {.preload = GL3_WRONG_TEXELS});
  EXPECT_EQ(wrong.status, 6) << wrong.err;
  EXPECT_TRUE(Holds(wrong.out, {"largest difference 8/255, allowed 1/255"}));

  Rgba first;
  for (const std::string threads : {"1", "2", "7"}) {
    const auto report = nlohmann::json::parse(
        Done("filter a.png -o b.png --effect blur --json --verify --threads " + threads));
    EXPECT_EQ(std::to_string(report["threads"].get<int>()), threads);
    const auto& effect = report["pictures"][0]["effects"][0];
    EXPECT_EQ(effect["effect"], "blur:radius=10,passes=1");
    EXPECT_LE(effect["difference"], effect["allowed"]);
    double sum = 0;
    for (const char* part : {"upload", "passes", "readBack", "merge"}) {
      EXPECT_GE(effect["milliseconds"][part], 0) << part;
      sum += effect["milliseconds"][part].get<double>();
    }
    EXPECT_GT(sum, 0);
    EXPECT_LE(sum, effect["milliseconds"]["process"].get<double>() + 0.01);
    if (first.empty()) first = ReadPng("b.png");
    EXPECT_EQ(ReadPng("b.png"), first) << threads;
  }
  EXPECT_FALSE(first.empty());
}

TEST_F(Filters, WorkOnRenderedPicturesToo) {
  Write("squares.obj", kSquaresObj);
  const std::string render = "render squares.obj -s 61x43 --no-background -o ";
  Done(render + "plain.png");
  for (const std::string effects :
       {" --effect dilate:passes=2", " --effect negative --effect blur:radius=4"}) {
    Done(render + "direct.png" + effects);
    Filter("plain.png -o later.png" + effects);
    EXPECT_EQ(ReadPng("direct.png"), ReadPng("later.png"));
    EXPECT_NE(ReadPng("direct.png"), ReadPng("plain.png"));
  }
}

}  // namespace
