// Standard input and output of `gl3`, and movies by way of a program that stands in for ffmpeg.
#include <csignal>
#include <nlohmann/json.hpp>

#include "tests/support/common/gl3_process.h"
#include "tests/support/common/holds.h"
#include "tests/support/common/png_pixels.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kGl3 = GL3_BIN_DIR "/gl3 ";

class Streams : public Gl3Test {
 protected:
  Streams() { Write("a.obj", kSquaresObj); }

  /// Runs a line of shell.
  Gl3Result Shell(const std::string& line) const {
    return Run({"-c", line}, {.program = "/bin/sh"});
  }
};

TEST_F(Streams, CarryAModelInAndPicturesOut) {
  const std::string look = " -s 7x5 --view front ";
  Done("render a.obj -o a.png" + look);
  const Pixels expected = ReadPng(Path("a.png"));
  const Gl3Result result =
      Shell(kGl3 + ("render - --model-format obj -o - --format rgba --json=r.json" + look) +
            "<a.obj >a.rgba");
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(Read("a.rgba"), std::string(expected.rgba.begin(), expected.rgba.end()));
  const nlohmann::json report = nlohmann::json::parse(Read("r.json"));
  EXPECT_EQ(report["output"], "-");
  EXPECT_EQ(report["models"], nlohmann::json::array({"-"}));
  // A report through a descriptor, and the pictures of a sequence one after another.
  const Gl3Result turn = Shell(kGl3 + ("render a.obj -o - --format rgb24 --turntable 3" + look) +
                               "--json=/dev/fd/3 3>r.json | wc -c");
  EXPECT_EQ(turn.out, "315\n") << turn.err;  // 3 pictures of 7 x 5 x 3 bytes
  EXPECT_EQ(nlohmann::json::parse(Read("r.json"))["pictures"], 3);
  EXPECT_EQ(Shell(kGl3 + ("render a.obj -o -" + look)).out.substr(1, 3), "PNG");
  EXPECT_EQ(Names(), (std::set<std::string>{"a.obj", "a.png", "a.rgba", "r.json"}));
  const Gl3Result info = Shell(kGl3 + std::string("info - --model-format obj <a.obj"));
  EXPECT_TRUE(Holds(info.out, {"-\n", "triangles", "4"}));
  const std::string render = kGl3 + ("render - --model-format obj -o %n.png --recipe full" + look);
  EXPECT_EQ(Shell(render + "<a.obj").status, 0);
  EXPECT_TRUE(Holds(Read("stdin.png"), {"gl3 render - --model-format obj", "- xxh3:"}));
  EXPECT_TRUE(Holds(Shell(render + "<r.json").err, {"gl3: standard input: "}));
}

TEST_F(Streams, CarryPicturesThroughFilters) {
  Done("render a.obj -o a.png -s 7x5");
  Done("filter a.png -o negative.png --effect negative");
  const Pixels expected = ReadPng(Path("negative.png"));
  const std::string filter = kGl3 + std::string("filter ");
  Gl3Result result = Shell(filter + "- -o - --format rgba --effect negative <a.png >n.rgba");
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(Read("n.rgba"), std::string(expected.rgba.begin(), expected.rgba.end()));
  result = Shell(filter + "a.png - -o - --format .ppm --recipe none --json=r.json <a.png >two.ppm");
  EXPECT_EQ(Read("two.ppm").size(), 2 * (3 + 4 + 4 + 7 * 5 * 3)) << result.err;
  const nlohmann::json pictures = nlohmann::json::parse(Read("r.json"))["pictures"];
  ASSERT_EQ(pictures.size(), 2u);
  EXPECT_EQ(pictures[1]["input"], "-");
  EXPECT_EQ(Shell(filter + "a.png - -o %n.webp <a.png").status, 0);
  EXPECT_EQ(Read("stdin.webp").substr(8, 4), "WEBP");
  EXPECT_TRUE(Holds(Read("stdin.webp"), {"gl3 filter - -o %n.webp"}));
  EXPECT_TRUE(Holds(Read("a.webp"), {"gl3 filter a.png -o %n.webp"})) << "not of its neighbour";
  ExpectRefused("filter a.png -o - --json", 2, {"--json", "--json=FILE"});
  ExpectRefused("filter a.png -o - --verify --effect tint", 2, {"--verify", "--json=FILE"});
  ExpectRefused("filter a.png -o b.png --format png", 2, {"--format", "-o -"});
  ExpectRefused("filter - - -o b.png", 2, {"-: ", "once"});
  ExpectRefused("render a.obj -o - --passes z", 2, {"--passes", "--format exr"});
  ExpectRefused("render a.obj -o t.mp4 --turntable 2 --passes z", 2, {"--passes", "t.mp4"});
}

TEST_F(Streams, ThatEndAreTold) {
  const std::string draw = kGl3 + std::string("render a.obj -o - -s 400x400 --format rgba ");
  for (const auto& [where, part] :
       {std::pair(">/dev/full", "disk is full"),
        {">&-", "it is closed"},
        {"--turntable 9 | head -c 700000 >/dev/null", "its reader has gone"}}) {
    const Gl3Result result = Shell("{ " + draw + where + "; echo status $? >&2; }");
    EXPECT_TRUE(Holds(result.err, {"standard output: ", part})) << where;
    EXPECT_EQ(result.err.find("--skip-existing"), std::string::npos) << "there are no files";
  }
  EXPECT_EQ(Shell(draw + ">/dev/full").status, 5);
  EXPECT_EQ(Shell(draw + ">&-").status, 5);
  EXPECT_TRUE(Holds(Shell("{ " + draw + "; echo status $? >&2; } | head -c 9").err, {"status 5"}));
  EXPECT_EQ(Shell(kGl3 + std::string("render - --model-format stl -o b.png </dev/null")).status, 3);
  // Of several pictures the first one that finds no reader is the last.
  Write("white.pbm", "P1 1 1 0");
  const std::string filter = kGl3 + std::string("filter white.pbm white.pbm -o - --size 999x");
  const Gl3Result result =
      Shell("{ " + filter + " --format ppm; echo status $? >&2; } | head -c 9");
  EXPECT_EQ(result.err.find("\nstatus 5\n"), result.err.find('\n')) << result.err;
  EXPECT_EQ(Names(), (std::set<std::string>{"a.obj", "white.pbm"}));
}

/// A stand-in for ffmpeg, which writes its words and how many bytes it was sent to the movie, or
/// fails.
class Movies : public Streams {
 protected:
  Movies() {
    fs::create_directory(Path("bin"));
    Install(
        "for last; do :; done\n"
        "{ printf '%s\\n' \"$@\"; head -c 9999999 | wc -c; } >$last\n");
  }

  void Install(const std::string& script) const {
    Write("bin/ffmpeg", "#!/bin/sh\n" + script);
    fs::permissions(Path("bin/ffmpeg"), fs::perms::owner_all);
  }
  Gl3Result Make(const std::string& line) const {
    return Run("render a.obj -s 8x6 " + line,
               {.environment = {"PATH=relative:" + Path("bin").string() + ":/usr/bin:/bin"}});
  }
};

TEST_F(Movies, GetTheirFramesAndAppearWhole) {
  const Gl3Result result = Make("-o t.mp4 --turntable 4 --fps 12.5 --json");
  EXPECT_EQ(result.status, 0) << result.err;
  const std::string movie = Read("t.mp4");
  EXPECT_TRUE(Holds(movie, {"\n-xerror\n", "\n8x6\n-framerate\n12.5\n", "\nlibx264\n", "\nmp4\n",
                            "\ncomment=gl3 render a.obj -s 8x6 -o t.mp4"}));
  EXPECT_EQ(LastLine(movie), std::to_string(4 * 8 * 6 * 3));
  EXPECT_EQ(nlohmann::json::parse(result.out)["pictures"], 4);
  const auto time = fs::last_write_time(Path("t.mp4"));
  EXPECT_EQ(Make("-o t.mp4 --turntable 4 --skip-existing").status, 0);
  EXPECT_EQ(fs::last_write_time(Path("t.mp4")), time);
  EXPECT_EQ(Make("-o %n.webm --turntable 2 -s 7x6").err, "");
  const Gl3Result odd = Make("-o odd.mp4 --turntable 2 -s 7x5 --json");
  EXPECT_TRUE(Holds(odd.err, {"odd.mp4: ", "8x6", "--size"}));
  EXPECT_TRUE(Holds(odd.out, {"odd.mp4: "}));
  EXPECT_EQ(LastLine(Read("a.webm")), std::to_string(2 * 7 * 6 * 3));
}

TEST_F(Movies, ThatFailLeaveNothing) {
  Write("t.gif", "old");
  const std::set<std::string> before = Names();
  const auto expect = [&](const Gl3Result& result, int status, const std::string& part) {
    EXPECT_EQ(result.status, status);
    EXPECT_TRUE(Holds(LastLine(result.err), {part})) << result.err;
    EXPECT_EQ(Names(), before);
    EXPECT_EQ(Read("t.gif"), "old");
  };
  Install("cat >/dev/null; exit 1\n");
  const char* gaveUp = "t.gif: cannot be written: ffmpeg gave up";
  expect(Make("-o t.gif --turntable 2"), 5, gaveUp);
  Install("cat >/dev/null\n");
  expect(Make("-o t.gif --turntable 2"), 5, gaveUp);
  Install("exit 0\n");
  expect(Make("-o t.gif --turntable 60 -s 200x200"), 5, gaveUp);
  Install("exec sleep 100\n");
  expect(Make("-o t.gif --turntable 2 --timeout 1"), 1, "--timeout");
  Install("cat >/dev/null\n");
  expect(Make("-o t.gif --turntable 2 --animation Run"), 2, "--animation");
  const Gl3Setup none = {.environment = {"PATH=."}};
  fs::copy(Path("bin/ffmpeg"), Path("ffmpeg"));
  const Gl3Result result = Run("render a.obj -o t.gif --turntable 2", none);
  EXPECT_EQ(result.status, 4);
  EXPECT_TRUE(Holds(result.err, {"ffmpeg", "not on PATH", "install ffmpeg"}));
}

}  // namespace
