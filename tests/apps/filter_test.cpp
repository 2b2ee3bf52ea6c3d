// `gl3 filter`: refusals, kinds of pictures, names of outputs, alpha, comparing, and effects of
// `gl3 render`.
#include <Imath/half.h>
#include <OpenEXR/ImfRgbaFile.h>

#include <array>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "tests/apps/png_pixels.h"
#include "tests/support/common/gl3_process.h"

namespace fs = std::filesystem;

namespace {

using Rgba = std::vector<unsigned char>;

constexpr int kWidth = 13, kHeight = 7;

/// A picture in which no pixel is like another; alpha from nearly transparent to opaque.
Rgba Colors(bool hasAlpha) {
  Rgba rgba;
  for (int i = 0; i < kWidth * kHeight; ++i) {
    const auto at = [&](int factor) { return static_cast<unsigned char>(i * factor % 256); };
    rgba.insert(rgba.end(), {at(2), at(37), at(91), hasAlpha ? at(2) : at(0)});
    if (!hasAlpha || i % 3 == 0) rgba.back() = 255;
  }
  return rgba;
}

class Filters : public Gl3Test {
 protected:
  Filters() {
    WritePng(Path("a.png"), {kWidth, kHeight, Colors(false)});
    WritePng(Path("cut.png"), {kWidth, kHeight, Colors(true)});
  }

  Rgba ReadPng(const std::string& name) const { return ::ReadPng(Path(name)).rgba; }

  /// "large.png", which takes a while.
  void WriteLarge() const {
    constexpr int kSide = 2000;
    ::WritePng(Path("large.png"), {kSide, kSide, Rgba(std::size_t{4} * kSide * kSide)});
  }

  /// Runs `gl3 filter` with the arguments, which is to succeed without a word.
  void Filter(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "filter");
    const Gl3Result result = Run(arguments);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out + result.err, "");
  }
};

TEST_F(Filters, AreRefusedInOneLineWithTheRemedy) {
  ExpectRefused({"filter", "a.png", "-o", "b.png", "--effect", "blurr"}, 2,
                {"blurr is no effect", "did you mean blur?", "sobel"});
  const auto refused = [&](std::vector<std::string> arguments, int status,
                           const std::vector<std::string>& parts) {
    arguments.insert(arguments.begin(), "filter");
    arguments.insert(arguments.end(), {"--effect", "tint"});
    ExpectRefused(arguments, status, parts);
  };
  ExpectRefused({"filter", "a.png", "-o", "b.png"}, 2, {"--effect is required"});
  refused({"a.png"}, 2, {"--output", "--verify"});
  refused({"a.png", "-o", "b.gif"}, 2, {"b.gif", ".png"});
  refused({"a.png", "-o", "b.png", "--threads", "0"}, 2, {"--threads", "1 to 256"});
  refused({"a.png", "-o", "nowhere/b.png"}, 5, {"nowhere", "create it first"});
  refused({"a.png", "-o", "b.png", "--module", "no.so"}, 4, {"no.so"});

  fs::create_directories(Path("sub"));
  refused({"a.png", "cut.png", "-o", "b.png"}, 2, {"one file for 2 pictures", "%n", "####"});

  Write("broken.png", "\x89PNG\r\n\x1a\n and no more");
  Write("broken.exr", "\x76\x2f\x31\x01\x02");
  Write("empty.png", "");
  for (const char* name : {"missing.png", "broken.png", "broken.exr", "empty.png", "sub"}) {
    refused({name, "-o", "b.png"}, 3, {name, "; "});
  }
}

TEST_F(Filters, ReadAndWriteEveryKind) {
  // Twice the negative is the picture again.
  const std::vector<std::string> nothing = {"--effect", "negative:passes=2"};
  for (const bool hasAlpha : {false, true}) {
    const Rgba wanted = Colors(hasAlpha);
    Filter({hasAlpha ? "cut.png" : "a.png", "-o", "b.exr", nothing[0], nothing[1]});
    Filter({"b.exr", "-o", "c.png", nothing[0], nothing[1]});
    EXPECT_EQ(ReadPng("c.png"), wanted) << hasAlpha;
  }
  Filter({"a.png", "-o", "b.jpg", nothing[0], nothing[1], "--quality", "100"});
  Filter({"b.jpg", "-o", "b.png", nothing[0], nothing[1]});
  const Rgba wanted = Colors(false), lossy = ReadPng("b.png");
  ASSERT_EQ(lossy.size(), wanted.size());
  double sum = 0;
  for (std::size_t i = 0; i < wanted.size(); ++i) sum += std::abs(lossy[i] - wanted[i]);
  EXPECT_LT(sum / static_cast<double>(wanted.size()), 2) << "JPEG, there and back";

  // One red pixel, uncompressed, in the other kinds.
  const std::string tgaHeader("\0\0\2\0\0\0\0\0\0\0\0\0\1\0\1\0\x18\0", 18);
  Write("red.tga", tgaHeader + std::string("\0\0\xff", 3));
  Write("red.bmp", std::string("BM\x3a\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\1\0\0\0\1\0\0\0\1\0\x18\0"
                               "\0\0\0\0\4\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0",
                               54) +
                       std::string("\0\0\xff\0", 4));
  Write("red.hdr", "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 +X 1\n" +
                       std::string("\x80\0\0\x81", 4));  // a red of 1
  for (const char* name : {"red.tga", "red.bmp", "red.hdr"}) {
    Filter({name, "-o", "red.png", nothing[0], nothing[1]});
    EXPECT_EQ(ReadPng("red.png"), (Rgba{255, 0, 0, 255})) << name;
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
  const Gl3Result result = Run({"filter", "one.exr", "two.exr", "-o", "out##.png", "--effect",
                                "negative", "--effect", "negative"});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.err.find("one.exr: colours above 1"), std::string::npos) << result.err;
  EXPECT_EQ(result.err.find("two.exr"), std::string::npos) << "a warning twice: " << result.err;
  EXPECT_EQ(Run({"filter", "one.exr", "-o", "q.png", "--effect", "negative", "-q"}).err, "");
  // 0.5 is encoded as 188; straight, the second pixel is a yellow of 0.5. The first and the last
  // lie outside the data.
  EXPECT_EQ(ReadPng("out02.png"), (Rgba{0, 0,   0, 0,   188, 0, 0, 255, 188, 188, 0, 128,  //
                                        0, 255, 0, 255, 0,   0, 0, 0}));
}

TEST_F(Filters, KeepAlphaOrMakeThePictureOpaque) {
  Filter({"cut.png", "-o", "tint.png", "--effect", "tint"});
  Filter({"cut.png", "-o", "edges.png", "--effect", "sobel"});
  const Rgba before = Colors(true), tint = ReadPng("tint.png"), edges = ReadPng("edges.png");
  ASSERT_EQ(tint.size(), before.size());
  ASSERT_EQ(edges.size(), before.size());
  for (std::size_t i = 3; i < before.size(); i += 4) {
    EXPECT_EQ(tint[i], before[i]);
    EXPECT_EQ(edges[i], 255);
  }
}

TEST_F(Filters, NameOutputsByPatternAndFolder) {
  fs::create_directories(Path("out"));
  Write("x.tga", std::string("\0\0\2\0\0\0\0\0\0\0\0\0\1\0\1\0\x18\0\1\2\3", 21));
  Filter({"a.png", "x.tga", "-o", "out", "--effect", "tint"});
  Filter({"a.png", "cut.png", "-o", "out/%n-%03d.exr", "--effect", "tint"});
  for (const char* name : {"out/a.png", "out/x.png", "out/a-001.exr", "out/cut-002.exr"}) {
    EXPECT_TRUE(fs::is_regular_file(Path(name))) << name;
  }
  const auto time = fs::last_write_time(Path("out/a.png"));
  Write("out/x.png", "");  // no picture
  Filter({"a.png", "x.tga", "-o", "out/", "--effect", "tint", "--skip-existing"});
  EXPECT_EQ(ReadPng("out/x.png").size(), 4u);
  EXPECT_EQ(fs::last_write_time(Path("out/a.png")), time);
  const auto nothing = nlohmann::json::parse(Run({"filter", "a.png", "x.tga", "-o", "out/",
                                                  "--effect", "tint", "--skip-existing", "--json"})
                                                 .out);
  EXPECT_EQ(nothing["skipped"], 2);
  EXPECT_EQ(nothing["milliseconds"]["start"], 0) << "nobody waits for a driver that is not needed";

  const Rgba before = ReadPng("a.png");
  Filter({"a.png", "-o", "a.png", "--effect", "negative"});
  EXPECT_NE(ReadPng("a.png"), before) << "a single picture may be replaced by name";
}

TEST_F(Filters, GoOnAfterAPictureThatFails) {
  Write("b.png", "no picture");
  const Gl3Result result = Run({"filter", "missing.png", "a.png", "b.png", "cut.png", "-o",
                                "%n-2.png", "--effect", "erode", "--json"});
  EXPECT_EQ(result.status, 3);
  EXPECT_NE(result.err.find("missing.png: no such picture"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("b.png: not a"), std::string::npos) << result.err;
  EXPECT_EQ(Names().count("a-2.png") + Names().count("cut-2.png"), 2u);
  EXPECT_EQ(Names().count("b-2.png") + Names().count("missing-2.png"), 0u);
  const auto report = nlohmann::json::parse(result.out);
  std::vector<int> statuses;
  for (const auto& picture : report["pictures"]) statuses.push_back(picture["status"]);
  EXPECT_EQ(statuses, (std::vector<int>{3, 0, 3, 0}));
}

TEST_F(Filters, GoOnAfterAPictureThatCrashes) {
  WriteLarge();
  Gl3Process process(m_work, m_logs,
                     {"filter", "a.png", "large.png", "cut.png", "-o", "%n-2.png", "--effect",
                      "blur:passes=20", "--json", "-v"});
  ASSERT_TRUE(process.WaitFor("large.png: drawing"));
  ASSERT_GT(process.Child(), 0);
  kill(process.Child(), SIGABRT);
  const Gl3Result result = process.Finish();
  EXPECT_EQ(result.status, 1) << result.err;
  EXPECT_NE(result.err.find("large.png: drawing crashed (Aborted); "), std::string::npos);
  EXPECT_EQ(result.err.find("pictures are there"), std::string::npos) << result.err;
  EXPECT_EQ(Names().count("a-2.png") + Names().count("cut-2.png"), 2u);
  const auto pictures = nlohmann::json::parse(result.out)["pictures"];
  ASSERT_EQ(pictures.size(), 3u);
  EXPECT_EQ(pictures[0]["status"], 0);
  EXPECT_EQ(pictures[1]["status"], 1);
  EXPECT_EQ(pictures[1]["output"], "large-2.png");
  EXPECT_NE(pictures[1]["error"].get<std::string>().find("crashed"), std::string::npos);
  EXPECT_EQ(pictures[2]["status"], 0);
}

TEST_F(Filters, ThatAreEndedTellWhatIsThere) {
  WriteLarge();
  const auto lastLine = [&](const std::vector<std::string>& more) {
    std::vector<std::string> arguments = {"filter",    "missing.png", "a.png",          "cut.png",
                                          "large.png", "--effect",    "blur:passes=20", "-v"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    Gl3Process process(m_work, m_logs, arguments);
    EXPECT_TRUE(process.WaitFor("large.png: drawing"));
    process.Signal(SIGINT);
    const Gl3Result result = process.Finish();
    EXPECT_EQ(result.status, 128 + SIGINT);
    return LastLine(result.err);
  };
  const std::string last = lastLine({"-o", "%n-2.png"});
  EXPECT_EQ(last.rfind("gl3: 2 of 4 pictures are there", 0), 0u) << last;
  EXPECT_EQ(lastLine({"--verify"}), "gl3: large.png: drawing") << "nothing was written";
}

TEST_F(Filters, CompareWithTheProcessorAndGiveFigures) {
  const Gl3Result words =
      Run({"filter", "cut.png", "--verify", "--effect", "blur:radius=3", "--effect", "sharpen"});
  EXPECT_EQ(words.status, 0) << words.err;
  EXPECT_NE(words.out.find("cut.png: blur:radius=3,passes=1: largest difference"),
            std::string::npos);
  EXPECT_NE(words.out.find("sharpen:passes=1: largest difference 0/255, allowed 1/255"),
            std::string::npos)
      << words.out;

  Gl3Setup wrongReading;
  wrongReading.environment = {"LD_PRELOAD=" GL3_WRONG_TEXELS,
                              "ASAN_OPTIONS=verify_asan_link_order=0:intercept_tls_get_addr=0"};
  const Gl3Result wrong = Run(
      {"filter", "cut.png", "-o", "wrong.png", "--verify", "--effect", "sharpen"}, wrongReading);
  EXPECT_EQ(wrong.status, 6) << wrong.err;
  EXPECT_NE(wrong.out.find("largest difference 8/255, allowed 1/255"), std::string::npos)
      << wrong.out;

  Rgba first;
  for (const char* threads : {"1", "2", "7"}) {
    const Gl3Result result = Run({"filter", "a.png", "-o", "b.png", "--effect", "blur", "--json",
                                  "--verify", "--threads", threads});
    ASSERT_EQ(result.status, 0) << result.err;
    const auto report = nlohmann::json::parse(result.out);
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
  const std::vector<std::string> render = {"render", "squares.obj", "-s", "61x43",
                                           "--no-background"};
  const auto renderTo = [&](const char* output, const std::vector<std::string>& more) {
    std::vector<std::string> arguments = render;
    arguments.insert(arguments.end(), {"-o", output});
    arguments.insert(arguments.end(), more.begin(), more.end());
    const Gl3Result result = Run(arguments);
    EXPECT_EQ(result.status, 0) << result.err;
  };
  for (const std::vector<std::string>& effects :
       {std::vector<std::string>{"--effect", "dilate:passes=2"},
        std::vector<std::string>{"--effect", "negative", "--effect", "blur:radius=4"}}) {
    renderTo("plain.png", {});
    renderTo("direct.png", effects);
    std::vector<std::string> filter = {"plain.png", "-o", "later.png"};
    filter.insert(filter.end(), effects.begin(), effects.end());
    Filter(filter);
    EXPECT_EQ(ReadPng("direct.png"), ReadPng("later.png"));
    EXPECT_NE(ReadPng("direct.png"), ReadPng("plain.png"));
  }
}

}  // namespace
