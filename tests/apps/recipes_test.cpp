// What pictures tell about how they were made, and which files a recipe may have read.
#include <cstdlib>
#include <tuple>
#include <utility>

#include "apps/base/command_words.h"
#include "apps/options/render_options.h"
#include "tests/support/common/gl3_process.h"
#include "tests/support/common/png_pixels.h"

namespace fs = std::filesystem;

namespace {

using Arguments = std::vector<std::string>;

class Recipes : public Gl3Test {
 protected:
  Recipes() {
    for (const char* folder : {"in", "out"}) fs::create_directory(Path(folder));
    Write("in/squares.obj", kSquaresObj);
    Draw({Path("in/squares.obj").string(), "-o", Path("in/logo.png").string(), "-s", "9x7"});
  }

  /// Runs `gl3 render`, and returns what it says.
  std::string Draw(Arguments arguments, const Gl3Setup& setup = {}) const {
    arguments.insert(arguments.begin(), "render");
    const Gl3Result result = Run(arguments, setup);
    EXPECT_EQ(result.status, 0) << result.err;
    return result.err;
  }
  /// Draws out/NAME of in/squares.obj and in/logo.png, all by their full paths.
  void DrawWith(const std::string& kind, const std::string& name) const {
    EXPECT_EQ(Draw({"--recipe", kind, "-qo" + Path("out/" + name).string(), "-s64x40",
                    "--overlay=" + Path("in/logo.png").string() + ",5,6", "--view", "front",
                    Path("in/squares.obj").string()}),
              "");
  }
  void Copy(const std::string& from, const std::string& to) const {
    fs::copy_file(Path(from), Path(to), fs::copy_options::overwrite_existing);
  }
};

bool Has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST_F(Recipes, TellPathsNamesOrNothing) {
  const std::string folder = m_base.filename().string();
  for (const std::string suffix : {".png", ".exr", ".jpg", ".tif", ".webp", ".ppm"}) {
    SCOPED_TRACE(suffix);
    for (const char* kind : {"full", "names", "none"}) DrawWith(kind, kind + suffix);
    const std::string full = Read("out/full" + suffix), names = Read("out/names" + suffix);
    EXPECT_TRUE(Has(full, "--view front " + Path("in/squares.obj").string()));
    EXPECT_TRUE(Has(full, Path("in/squares.obj").string() + " xxh3:"));
    EXPECT_TRUE(Has(names, "-qonames" + suffix + " -s64x40 --overlay=logo.png,5,6 --view"));
    EXPECT_TRUE(Has(names, "squares.obj xxh3:"));
    EXPECT_FALSE(Has(names, folder));
    EXPECT_FALSE(Has(Read("out/none" + suffix), "gl3:command"));
    EXPECT_FALSE(Has(Read("out/none" + suffix), folder));
    ExpectRefused({"render", "--like", "out/none" + suffix, "-o", "new.png"}, 3, {"none", "; "});
    const std::string filtered = "soft" + suffix;
    for (const auto& [kind, tells] : {std::pair("names", true), {"none", false}}) {
      ASSERT_EQ(Run({"filter", Path("in/logo.png").string(), "-o", Path(filtered).string(),
                     "--effect", "tint", "--recipe", kind})
                    .status,
                0);
      EXPECT_FALSE(Has(Read(filtered), folder));
      EXPECT_EQ(Has(Read(filtered), "gl3 filter logo.png -o soft"), tells);
      EXPECT_EQ(Has(Read(filtered), "logo.png xxh3:"), tells);
    }
  }
}

TEST_F(Recipes, OfNamesFindTheirFilesBesideThePictureThenHere) {
  DrawWith("names", "shot.png");
  const Arguments again = {"--like", "out/shot.png", "-o", "new.png"};
  Arguments refused = again;
  refused.insert(refused.begin(), "render");
  ExpectRefused(refused, 3, {"squares.obj, logo.png", "--overlay and MODEL", "; "});
  Copy("in/squares.obj", "squares.obj");
  ExpectRefused(refused, 3, {"logo.png", "give --overlay"});
  Copy("in/logo.png", "out/logo.png");
  // Another model beside the picture is not taken for the right one here.
  Write("out/squares.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  const std::string said = Draw(again);
  EXPECT_EQ(said,
            "gl3: out/shot.png: its recipe has files read outside of its folder: squares.obj\n"
            "gl3: out/shot.png: its recipe has these files read: out/logo.png\n");
  EXPECT_EQ(ReadPng(Path("new.png")).rgba, ReadPng(Path("out/shot.png")).rgba);
  Write("squares.obj", "v 0 0 0\nv 2 0 0\nv 0 1 0\nf 1 2 3\n");
  EXPECT_TRUE(Has(Draw(again), "out/squares.obj: is not the file that out/shot.png was made of"));
  Copy("in/squares.obj", "out/squares.obj");
  EXPECT_EQ(Draw(again),
            "gl3: out/shot.png: its recipe has these files read: out/squares.obj, out/logo.png\n");
  EXPECT_EQ(ReadPng(Path("new.png")).rgba, ReadPng(Path("out/shot.png")).rgba);
}

TEST_F(Recipes, OfStrangersReadNothingUnheard) {
  DrawWith("full", "far.png");
  const std::string model = Path("in/squares.obj").string(), logo = Path("in/logo.png").string();
  const Arguments far = {"render", "--like", "out/far.png", "-o", "new.png"};
  Arguments confined = far;
  confined.emplace_back("--confined");
  const Gl3Setup service = {.environment = {"GL3_CONFINED=1"}};
  ExpectRefused(confined, 3, {model + ", " + logo, "give --overlay and MODEL"});
  ExpectRefused(far, 3, {model + ", " + logo}, service);
  EXPECT_TRUE(Has(Run(far).err, "outside of its folder: " + model + ", " + logo));
  // Neither what lies here nor what a link in the picture's folder leads to.
  DrawWith("names", "near.png");
  const Arguments near = {"render", "--like", "out/near.png", "-o", "new.png"};
  for (const char* name : {"logo.png", "squares.obj"}) Copy(std::string("in/") + name, name);
  ExpectRefused(near, 3, {": its recipe names squares.obj, logo.png, outside"}, service);
  Copy("in/logo.png", "out/logo.png");
  fs::create_symlink(model, Path("out/squares.obj"));
  ExpectRefused(near, 3, {": its recipe names out/squares.obj, outside"}, service);
  // What the user names himself is his own affair.
  Arguments own = confined;
  own.insert(own.end(), {"squares.obj", "--overlay", "logo.png"});
  EXPECT_FALSE(Has(Run(own).err, "its recipe names"));
  fs::remove_all(Path("in"));
  ExpectRefused(far, 3, {model, "there is no such file", "out/far.png"});
}

TEST(RecipeCommand, HasNoFolders) {
  const gl3::OptionParser parser;
  gl3::RenderOptions options;
  gl3::AddRenderOptions(parser, &options);
  for (const auto& [line, told] :
       {std::pair("gl3 render /a/b.obj -qvo/c/d%d.png -s 8x8 c/e.obj",
                  "gl3 render b.obj -qvod%d.png -s 8x8 e.obj"),
        {"gl3 render -qo /a/b/ --depth=/c/z.exr --depth /d/z.exr --like= /e/l.png --eye -1,0,0",
         "gl3 render -qo b --depth=z.exr --depth z.exr --like= l.png --eye -1,0,0"},
        {"gl3 render --module ../m.so --text /seen/in --overlay a/b.png,1,2,0.5 --grid=1 /x.obj",
         "gl3 render --module m.so --text /seen/in --overlay b.png,1,2,0.5 --grid=1 x.obj"},
        {"gl3 render /a/-b.obj --grid ./c.obj -- -q/d.obj /e/--f.obj / .",
         "gl3 render ./-b.obj --grid c.obj -- d.obj ./--f.obj / ."}}) {
    std::vector<std::string> words;
    ASSERT_TRUE(gl3::SplitCommand(line, &words));
    EXPECT_EQ(gl3::RecipeCommand(parser, words, gl3::RecipeKind::kNames), told);
    EXPECT_EQ(gl3::RecipeCommand(parser, words, gl3::RecipeKind::kFull), line);
  }
}

TEST(Confined, IsWhatFlagOrEnvironmentSay) {
  for (const auto& [value, word, isConfined] : {std::tuple("", "", false),
                                                {"0", "", false},
                                                {"", "--confined", true},
                                                {"0", "--confined", true},
                                                {"1", "", true},
                                                {"no", "--confined=false", true}}) {
    setenv("GL3_CONFINED", value, 1);
    gl3::RenderOptions options;
    const gl3::OptionParser parser;
    gl3::AddRenderOptions(parser, &options);
    std::string error;
    EXPECT_TRUE(parser.Parse(*word ? Arguments{word} : Arguments(), &error)) << error;
    EXPECT_EQ(options.run.confined, isConfined) << value << word;
  }
  unsetenv("GL3_CONFINED");
}

}  // namespace
