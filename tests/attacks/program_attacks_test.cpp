// What would have gl3 write, load, run or show something, and importers that crash in its run.
#include <fmt/format.h>

#include <cstdlib>

#include "tests/attacks/attack_fixture.h"
#include "tests/support/common/holds.h"
#include "tests/support/common/png_pixels.h"

namespace fs = std::filesystem;

namespace {

/// A triangle with two cameras, and with others of those names, as JSON has them.
Pairs GltfOfCameras(const std::vector<std::string>& names) {
  std::string nodes = "1, 0, 0]}", cameras = "0.1}}", scene = "[0, 1, 2";
  for (std::size_t i = 0; i < names.size(); ++i) {
    scene += fmt::format(", {}", i + 3);
    nodes += fmt::format(R"(, {{"name": "{}", "camera": {}}})", names[i], i + 2);
    cameras += ", {\"name\": \"" + names[i] + R"(", "type": "perspective", "perspective": {
      "yfov": 1, "znear": 1}})";
  }
  return {
      {"m.gltf", Changed(kCamerasGltf,
                         {{"[0, 1, 2", scene}, {"1, 0, 0]}", nodes}, {"0.1}}]", cameras + "]"}})}};
}

TEST_F(Attacks, NamesInModelsSteerNeitherFilesNorTerminals) {
  const std::vector<std::string> names = {"../../evil",         "/tmp/evil", "..\\\\evil", "..",
                                          "\\u001b]0;x\\u0007", "\\u009b2J", "\\u202egnp", "a\\nb"};
  Lay(GltfOfCameras(names));
  const std::set<std::string> before = All();
  EXPECT_EQ(Say("render in/m.gltf -o o-%c.png --camera all -s 8x8 -v --json").status, 0);
  std::size_t made = 0;
  for (const std::string& name : All()) {
    const bool isNew = before.count(name) == 0;
    made += isNew;
    EXPECT_TRUE(!isNew || name.starts_with("work/o-")) << name;
    EXPECT_EQ(name.find_first_of("\x1b\x9b\n"), std::string::npos) << name;
  }
  EXPECT_EQ(made, names.size() + 2);
  EXPECT_TRUE(Holds(Say("render in/m.gltf -o p.png --camera no").err, {"../../evil", "gnp"}));
  Lay(ObjOf({"\x1b[2Ja.png", "\xe2\x80\xaegnp.d", "\xc2\x9bJb.png", "\x9bJc.png"}));
  EXPECT_TRUE(Holds(Say("render in/m.obj -o q.png -s 8x8 -v --json").err, {"Ja.png", "gnp.d"}));
}

TEST_F(Attacks, RecipesWriteAndLoadNothing) {
  fs::copy_file(GL3_LIB_DIR "/OpenGL3.so", Path("own.so"));
  fs::copy_file(Path("in/m.obj"), Path("far.obj"));
  Say("render far.obj -o in/shot.png --depth in/z.exr --module ./own.so --recipe full -s 8x8 "
      "--json");
  fs::remove(Path("in/z.exr"));
  Write("own.so", "not a library");
  const std::string shot = Read("in/shot.png");
  ExpectRefused("render --like in/shot.png -o out.png --confined", 3, {"far.obj, outside of its"});
  std::set<std::string> expected = All();
  const Gl3Result again = Say("render --like in/shot.png -o out.png");
  EXPECT_TRUE(Holds(again.err, {"outside", ": far.obj"}));
  EXPECT_EQ(again.out, "");
  expected.insert("work/out.png");
  EXPECT_EQ(All(), expected);
  EXPECT_TRUE(Read("in/shot.png") == shot);
}

TEST_F(Attacks, LinksOfTheUsersOwnAreWrittenThrough) {
  fs::create_directory(m_base / "else");
  fs::create_symlink("../../else/there.png", Path("in/second.png"));
  fs::create_symlink("in/second.png", Path("link.png"));
  for (int i = 0; i < 2; ++i) {  // to what is not there yet, and to what is
    Say(fmt::format("render in/m.obj -o link.png -s 8x{} --confined", 8 + i));
    EXPECT_EQ(ReadPng(m_base / "else/there.png").height, 8 + i);
  }
  EXPECT_TRUE(fs::is_symlink(Path("link.png")));
}

TEST_F(Attacks, PlantedProgramsAndLibrariesAreLeftAlone) {
  std::set<std::string> names = {"gl3-view", "libfmt.so.9", "libassimp.so.5", "libEGL.so.1",
                                 "ffmpeg",   "sinfo",       "sbatch",         "scontrol"};
  for (const fs::directory_entry& entry : fs::directory_iterator(GL3_LIB_DIR)) {
    names.insert(entry.path().filename().string());
  }
  for (const std::string folder : {".", "planted", "lib/gl3", "../lib/gl3"}) {
    fs::create_directories(Path(folder));
    for (const std::string& name : names) {
      Write(folder + "/" + name, "#!/bin/sh\ntouch ran ../ran\n");
      fs::permissions(Path(folder) / name, fs::perms(0755));
    }
  }
  Gl3Setup setup;
  setup.environment = {fmt::format("PATH=.:planted:{}", std::getenv("PATH"))};
  std::set<std::string> expected = All();
  EXPECT_EQ(Say("info", setup).status, 0);
  EXPECT_EQ(Say("render in/m.obj" + m_draw, setup).status, 0);
  EXPECT_TRUE(Read("out.png") == m_plain);
  expected.insert("work/out.png");
  Say("render in/m.obj -o m.mp4 --turntable 2", setup);
  Say("farm --dry-run --folder ../logs/farm -- render in/m.obj -o f##.png --turntable 2", setup);
  setup.program = CopyOfTheProgram(m_base / "logs/copy");  // without the viewer and the module
  ExpectRefused("view in/m.obj", 1, {"gl3-view is not installed beside gl3"}, setup);
  ExpectRefused("render in/m.obj -o new.png", 4, {"OpenGL3.so: ", "; "}, setup);
  EXPECT_EQ(All(), expected);
}

TEST_F(Attacks, ImportersThatAreLedAstray) {
  const std::string preload = "LD_PRELOAD=" GL3_IMPORT_FAULTS;
  Gl3Setup setup;
  for (const auto& [fault, status, part] :
       {std::tuple("ABRT", 3, "importing it crashed (Aborted); the file is damaged"),
        {"KILL", 1, "importing it was killed from outside"},
        {"grow", 3, "importing it took more than 300.0 MiB of memory; raise --max-memory"}}) {
    setup.environment = {preload, std::string("GL3_IMPORT_FAULT=") + fault};
    ExpectRefused("render in/m.obj -o out.png --max-memory 300M", status,
                  {std::string("in/m.obj: ") + part, "; "}, setup);
  }
  setup.environment = {preload, "GL3_IMPORT_FAULT=spin"};
  EXPECT_TRUE(Holds(Say("render in/m.obj -o out.png --timeout 1", setup).err,
                    {"took the run beyond 1 s; raise --timeout"}));
  EXPECT_FALSE(fs::exists(Path("out.png")));
}

}  // namespace
