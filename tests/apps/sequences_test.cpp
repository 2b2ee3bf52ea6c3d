// Sequences: which files come out, that they can be gone on with and repeated, what ends them.
#include <unistd.h>

#include <csignal>
#include <nlohmann/json.hpp>

#include "tests/support/common/gl3_process.h"
#include "tests/support/common/holds.h"
#include "tests/support/common/png_pixels.h"

namespace fs = std::filesystem;

namespace {

using Arguments = std::vector<std::string>;

/// A triangle that goes from the left to the right in one second, and stands before; the camera
/// "Eye" sees it, as does one with a name that is no file name.
const char* const kMovingGltf =
    R"({"asset": {"version": "2.0"}, "scene": 0,
"scenes": [{"nodes": [0, 1, 2]}],
"nodes": [{"mesh": 0, "translation": [-1, 0, 0]}, {"name": "Eye", "camera": 0,
  "translation": [0, 0, 6]}, {"name": "a/b", "camera": 1, "translation": [0, 0, 9]}],
"cameras": [
  {"name": "Eye", "type": "perspective", "perspective": {"yfov": 0.8, "znear": 0.1}},
  {"name": "a/b", "type": "perspective", "perspective": {"yfov": 0.8, "znear": 0.1}}],
"meshes": [{"primitives": [{"attributes": {"POSITION": 0}}]}],
"animations": [{"name": "Go", "samplers": [{"input": 1, "output": 2}],
  "channels": [{"sampler": 0, "target": {"node": 0, "path": "translation"}}]}],
"accessors": [{"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3",
    "min": [-0.5, -0.5, 0], "max": [0.5, 0.5, 0]},
  {"bufferView": 1, "componentType": 5126, "count": 2, "type": "SCALAR", "min": [0], "max": [1]},
  {"bufferView": 2, "componentType": 5126, "count": 2, "type": "VEC3"}],
"bufferViews": [{"buffer": 0, "byteLength": 36}, {"buffer": 0, "byteOffset": 36, "byteLength": 8},
  {"buffer": 0, "byteOffset": 44, "byteLength": 24}],
"buffers": [{"byteLength": 68, "uri": "data:application/octet-stream;base64,)"
    "AAAAvwAAAL8AAAAAAAAAPwAAAL8AAAAAAAAAAAAAAD8AAAAAAAAAAAAAgD8AAIC/AAAAAAAAAAAAAIA/"
    "AAAAAAAAAAA="
    R"("}]})";

class Sequences : public Gl3Test {
 protected:
  Sequences() {
    Write("moving.gltf", kMovingGltf);
    Write("squares.obj", kSquaresObj);
  }

  /// Renders small pictures and expects no word.
  void Render(Gl3Words words) const {
    words.insert(words.begin(), "render");
    words.insert(words.end(), {"-s", "96x64", "--antialias", "1"});
    EXPECT_EQ(Done(words), "");
  }
  Pixels Png(const std::string& name) const { return ReadPng(Path(name)); }
  /// Names of pictures.
  std::set<std::string> Pictures() const {
    std::set<std::string> names = Names();
    names.erase("moving.gltf");
    names.erase("squares.obj");
    return names;
  }
};

TEST_F(Sequences, ShowTheAnimationAtTheirFramesTimes) {
  const std::string clear = "moving.gltf --no-background ", seen = clear + "--camera Eye ";
  Render(seen + "-o f##.png --frames 1-9x4 --fps 8");
  EXPECT_EQ(Pictures(), (std::set<std::string>{"f01.png", "f05.png", "f09.png"}));
  const double first = Png("f01.png").Middle(), last = Png("f09.png").Middle();
  EXPECT_LT(first, 0.45);
  EXPECT_NEAR(Png("f05.png").Middle(), 0.5, 0.01);
  EXPECT_NEAR(last, 1 - first, 0.01);
  for (const std::string still : {"", "--frames 9 --animation none"}) {
    Render(seen + "-o still.png " + still);
    EXPECT_EQ(Png("still.png").rgba, Png("f01.png").rgba) << still;
  }
  // Without a camera the view holds the whole way, and stands still.
  Render(clear + "-o w#_%d.png --frames 1,9 --fps 8");
  EXPECT_LT(Png("w#_1.png").Middle(), 0.45);
  EXPECT_GT(Png("w#_9.png").Middle(), 0.55);
}

TEST_F(Sequences, TurnTheCameraAroundTheModel) {
  Render("squares.obj -o t%d.png --turntable 4 --view front");
  EXPECT_EQ(Pictures(), (std::set<std::string>{"t1.png", "t2.png", "t3.png", "t4.png"}));
  EXPECT_NE(Png("t1.png").rgba, Png("t2.png").rgba);
  EXPECT_NE(Png("t1.png").rgba, Png("t3.png").rgba);
  // What is drawn of a turn is the same whatever else is drawn.
  Render("squares.obj -o three.png --turntable 4 --view front --frames 3");
  EXPECT_EQ(Png("three.png").rgba, Png("t3.png").rgba);
  // From the right after a quarter: counter-clockwise from above.
  const std::string at = "squares.obj --target 0,0,0 --no-background ";
  Render(at + "-o turned.png --eye 0,1,9 --turntable 4 --frames 2");
  Render(at + "-o right.png --eye 9,1,0");
  EXPECT_NEAR(Png("turned.png").Middle(), Png("right.png").Middle(), 0.005);
}

TEST_F(Sequences, OfSeveralCamerasGoByTheirNames) {
  Render("moving.gltf -o {camera}_##.png --camera all --frames 1-2");
  EXPECT_EQ(Pictures(),
            (std::set<std::string>{"Eye_01.png", "Eye_02.png", "a_b_01.png", "a_b_02.png"}));
  Render("moving.gltf -o %c.png --camera a/b --camera Eye");
  EXPECT_NE(Png("Eye.png").rgba, Png("a_b.png").rgba);
}

TEST_F(Sequences, AreGoneOnWithAndShared) {
  const auto render = [&](const std::string& more) {
    return nlohmann::json::parse(
        Done("render squares.obj -o s##.png --turntable 6 -s 33x21 --json " + more));
  };
  // Whether they are above 0 in place of times and bytes, whether they are there in place of the
  // machine's own names.
  nlohmann::json some = render("--chunk 2/4 --fps 8 --effect tint").flatten();
  for (auto& [path, value] : some.items()) {
    const bool isAmount = path.find("milliseconds") != path.npos || path == "/peakMemoryBytes";
    if (isAmount) value = value > 0;
    if (path == "/renderer" || path == "/platform" || path == "/device") value = value != "";
    if (path == "/software") value = value.is_boolean();
  }
  const char* const outline = R"({"models": ["squares.obj"], "output": "s##.png", "width": 33,
"height": 21, "triangles": 4, "renderer": true, "software": true, "platform": true, "device": true, "milliseconds":
{"start": true, "import": true, "upload": true, "draw": true, "readBack": true, "effects": true,
"write": true, "total": true}, "pictures": 2, "skipped": 0, "frames": [
{"frame": 2, "seconds": 0.125, "output": "s02.png", "milliseconds":
{"draw": true, "readBack": true, "effects": true, "write": true, "total": true}},
{"frame": 6, "seconds": 0.625, "output": "s06.png", "milliseconds":
{"draw": true, "readBack": true, "effects": true, "write": true, "total": true}}],
"peakMemoryBytes": true, "warnings": null})";
  EXPECT_EQ(some.unflatten(), nlohmann::json::parse(outline));
  EXPECT_EQ(Pictures(), (std::set<std::string>{"s02.png", "s06.png"}));
  Write("s03.png", "");  // no picture
  const auto rest = render("--skip-existing");
  EXPECT_EQ(rest["skipped"], 2);
  ASSERT_EQ(rest["frames"].size(), 4u);
  EXPECT_EQ(rest["frames"][1]["output"], "s03.png");
  EXPECT_GT(rest["frames"][1]["milliseconds"]["total"], 0);
  EXPECT_EQ(Pictures().size(), 6u);
  const auto nothing = render("--skip-existing");
  EXPECT_EQ(nothing["skipped"], 6);
  EXPECT_EQ(nothing["milliseconds"]["start"], 0) << "nobody waits for a driver that is not needed";
}

TEST_F(Sequences, RefuseWhatMeansNothing) {
  ExpectRefused("render moving.gltf -o x##.png --frames 1-2 --animation Run", 2,
                {"--animation", "Run", "Go"});
  // A camera's folder, which is known when the model is: not after the other camera's pictures.
  fs::create_directory(Path("Eye"));
  ExpectRefused("render moving.gltf -o {camera}/##.png --camera all --frames 1-2", 5,
                {"a_b", "create it first"});
  EXPECT_TRUE(fs::is_empty(Path("Eye")));
}

TEST_F(Sequences, ThatCannotBeWrittenToTheEndKeepWhatIsThere) {
  fs::create_directory(Path("x02.png"));
  const Gl3Result result = Run("render squares.obj -o x##.png --turntable 3 -s 32x32");
  EXPECT_EQ(result.status, 5);
  EXPECT_TRUE(Holds(result.err, {"gl3: x02.png: "}));
  EXPECT_TRUE(Holds(LastLine(result.err), {"1 of 3 pictures"}));
  EXPECT_EQ(Pictures(), (std::set<std::string>{"x01.png", "x02.png"}));
}

TEST_F(Sequences, ThatAreEndedLeaveWholePicturesOnly) {
  const char* const steps[] = {"starting", "importing", "drawing", "written in"};
  const int signals[] = {SIGINT, SIGTERM, SIGKILL};
  for (int i = 0; i < 12; ++i) {
    SCOPED_TRACE(i);
    const int signal = signals[i % 3];
    Gl3Process process(
        m_work, m_logs,
        "render squares.obj -o k###.png --turntable 400 -s 320x240 -v --skip-existing");
    ASSERT_TRUE(process.WaitFor(steps[i % 4]));
    usleep(static_cast<useconds_t>(i) * 1700);
    const pid_t child = process.Child();
    process.Signal(signal);
    const Gl3Result result = process.Finish();
    EXPECT_EQ(result.status, 128 + signal);
    while (child > 0 && kill(child, 0) == 0) usleep(1000);  // it goes with its parent
    const std::set<std::string> pictures = Pictures();
    for (const std::string& name : pictures) EXPECT_NO_THROW(Png(name)) << name;
    if (signal == SIGKILL || i % 4 < 3) continue;
    const std::string count = "gl3: " + std::to_string(pictures.size()) + " of 400 pictures";
    const std::string oneLess = "gl3: " + std::to_string(pictures.size() - 1) + " of 400 pictures";
    const std::string last = LastLine(result.err);
    EXPECT_TRUE(last.starts_with(count) || last.starts_with(oneLess)) << last;
    EXPECT_TRUE(Holds(last, {"--skip-existing"}));
  }
}

TEST_F(Sequences, ACrashNamesTheFrame) {
  Gl3Process process(m_work, m_logs,
                     "render squares.obj -o k##.png --turntable 90 -s 1500x1500 -v");
  ASSERT_TRUE(process.WaitFor("k02.png: written"));
  ASSERT_GT(process.Child(), 0);
  kill(process.Child(), SIGABRT);
  const Gl3Result result = process.Finish();
  EXPECT_NE(result.status, 0);
  EXPECT_TRUE(Holds(result.err, {"gl3: frame ", "crashed"}));
  EXPECT_TRUE(Holds(LastLine(result.err), {" of 90 pictures are there"}));
}

TEST_F(Sequences, TheTimeLimitCountsFromPictureToPicture) {
  Gl3Process process(m_work, m_logs,
                     "render squares.obj -o k###.png --turntable 200 -s 64x64 -v --timeout 3");
  for (const char* step : {"k001.png: written", "k100.png: written"}) {
    ASSERT_TRUE(process.WaitFor(step));
    const pid_t child = process.Child();
    ASSERT_GT(child, 0);
    kill(child, SIGSTOP);
    usleep(2000000);  // less than the limit, and both together more than it
    kill(child, SIGCONT);
  }
  const Gl3Result result = process.Finish();
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(Pictures().size(), 200u);
}

TEST_F(Sequences, RecipesAreRepeated) {
  Render(
      {"squares.obj", "-o", "t%d.png", "--turntable", "4", "--background", "#123", "--parallel"});
  Render({"-q", "--like", "t3.png", "-o", "again.png"});
  EXPECT_EQ(Png("again.png").rgba, Png("t3.png").rgba);
  // Through every kind of picture, one made of the other.
  std::string last = "again.png";
  for (const char* name : {"a.exr", "b.jpg", "c d.png"}) {
    Render({"-q", "--like", last, "-o", name});
    last = name;
  }
  EXPECT_EQ(Png("c d.png").rgba, Png("t3.png").rgba);
  // The command line beats the recipe, and what it excludes goes.
  Render({"-q", "--like", "t3.png", "-o", "other.png", "--no-background", "--turntable", "4",
          "--frames", "1"});
  EXPECT_EQ(Png("other.png").rgba[3], 0);
  Render({"-q", "--like", "t3.png", "-o", "u%d.png", "--frames", "1-4"});
  EXPECT_EQ(Png("u4.png").rgba, Png("t4.png").rgba);
  Render({"moving.gltf", "-o", "%c.png", "--camera", "all"});
  Render({"-q", "--like", "a_b.png", "-o", "from_b.png"});
  EXPECT_EQ(Png("from_b.png").rgba, Png("a_b.png").rgba);

  Write("squares.obj", std::string(kSquaresObj) + "# changed\n");
  const Gl3Result changed = Run({"render", "--like", "t3.png", "-o", "changed.png"});
  EXPECT_EQ(changed.status, 0);
  EXPECT_TRUE(Holds(changed.err, {"squares.obj: is not the file that t3.png was made of"}));
}

TEST_F(Sequences, RecipesAreForeignText) {
  // The header of a picture of one pixel with that command in its comment.
  const auto write = [this](const std::string& command) {
    const std::string text = "gl3:command: " + command;
    Write("x.jpg",
          std::string("\xff\xd8\xff\xfe\0", 5) + static_cast<char>(text.size() + 2) + text +
              std::string("\xff\xc0\0\x0b\x8\0\1\0\1\1\1\x11\0\xff\xda\0\x8\1\1\0\0\x3f\0", 23));
  };
  const Arguments like = {"render", "--like", "x.jpg", "-o", "out.png"};
  for (const char* command :
       {"", "gl3", "gl3 filter a.png -o b.png", "sh -c 'touch pwned'",
        "gl3 render squares.obj; touch pwned", "gl3 render $(touch pwned)",
        "gl3 render squares.obj --unknown", "gl3 render squares.obj --size", "gl3 render 'open",
        "gl3 render squares.obj --size 0x0", "gl3 render --help"}) {
    write(command);
    ExpectRefused(like, 3, {"x.jpg: ", "; "});
  }
  write("gl3 render missing.obj");
  ExpectRefused(like, 3, {"missing.obj", "x.jpg"});
  Write("cut.png", "\x89PNG\r\n\x1a\n");
  Write("cut.exr", "\x76\x2f\x31\x01 nothing more");
  Write("cut.jpg", "\xff\xd8\xff\xe0");
  Write("empty.png", "");
  for (const char* name :
       {"cut.png", "cut.exr", "cut.jpg", "empty.png", "squares.obj", "no.png", "."}) {
    ExpectRefused({"render", "--like", name, "-o", "out.png"}, 3, {name, "; "});
  }
  write("gl3 render squares.obj");
  ExpectRefused({"render", "--like", "x.jpg"}, 2, {"--output"});
}

}  // namespace
