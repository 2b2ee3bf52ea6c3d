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
  EXPECT_EQ(nlohmann::json::parse(Read("r.json"))["output"], "-");
  // A report through a descriptor, and the pictures of a sequence one after another.
  const Gl3Result turn = Shell(kGl3 + ("render a.obj -o - --format rgb24 --turntable 3" + look) +
                               "--json=/dev/fd/3 3>r.json | wc -c");
  EXPECT_EQ(turn.out, "315\n") << turn.err;  // 3 pictures of 7 x 5 x 3 bytes
  EXPECT_EQ(nlohmann::json::parse(Read("r.json"))["pictures"], 3);
  EXPECT_EQ(Shell(kGl3 + ("render a.obj -o -" + look)).out.substr(1, 3), "PNG");
  EXPECT_EQ(Names(), (std::set<std::string>{"a.obj", "a.png", "a.rgba", "r.json"}));
  const Gl3Result info = Shell(kGl3 + std::string("info - --model-format obj <a.obj"));
  EXPECT_TRUE(Holds(info.out, {"triangles", "4"}));
}

TEST_F(Streams, ThatEndAreTold) {
  const std::string draw = kGl3 + std::string("render a.obj -o - -s 400x400 --format rgba ");
  for (const auto& [where, part] : {std::pair(">/dev/full", "disk is full"),
                                    {">&-", "it is closed"},
                                    {"--turntable 9 | head -c 9", "its reader has gone"}}) {
    const Gl3Result result = Shell("{ " + draw + where + "; echo status $? >&2; }");
    EXPECT_TRUE(Holds(result.err, {"standard output: ", part})) << where;
  }
  EXPECT_EQ(Shell(draw + ">/dev/full").status, 5);
  EXPECT_EQ(Shell(draw + ">&-").status, 5);
  EXPECT_TRUE(Holds(Shell("{ " + draw + "; echo status $? >&2; } | head -c 9").err, {"status 5"}));
  EXPECT_EQ(Shell(kGl3 + std::string("render - --model-format stl -o b.png </dev/null")).status, 3);
  EXPECT_EQ(Names(), (std::set<std::string>{"a.obj"}));
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
  EXPECT_TRUE(Holds(movie, {"\n8x6\n-framerate\n12.5\n", "\nlibx264\n", "\nmp4\n",
                            "\ncomment=gl3 render a.obj -s 8x6 -o t.mp4"}));
  EXPECT_EQ(LastLine(movie), std::to_string(4 * 8 * 6 * 3));
  EXPECT_EQ(nlohmann::json::parse(result.out)["pictures"], 4);
  const auto time = fs::last_write_time(Path("t.mp4"));
  EXPECT_EQ(Make("-o t.mp4 --turntable 4 --skip-existing").status, 0);
  EXPECT_EQ(fs::last_write_time(Path("t.mp4")), time);
  EXPECT_EQ(Make("-o %n.webm --turntable 2").status, 0);
  EXPECT_EQ(LastLine(Read("a.webm")), std::to_string(2 * 8 * 6 * 3));
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
  expect(Make("-o t.gif --turntable 2"), 5, "t.gif: ffmpeg could not finish it");
  Install("exit 0\n");
  expect(Make("-o t.gif --turntable 60 -s 200x200"), 5, "t.gif: ");
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
