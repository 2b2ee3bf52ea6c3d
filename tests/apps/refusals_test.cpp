// Wrong usage, input that cannot be read, output that cannot be written, a module that is not
// there: the status, one line with the thing and the remedy, no file.

#include "tests/support/common/gl3_process.h"
#include "tests/support/common/holds.h"

namespace fs = std::filesystem;

namespace {

class Refusals : public Gl3Test {
 protected:
  Refusals() { Write("ok.obj", kSquaresObj); }

  const std::string m_render = "render ok.obj -o ok.png ";
};

TEST_F(Refusals, OfWrongCommandLines) {
  ExpectRefused("", 2, {"no verb", "gl3 --help"});
  ExpectRefused("rendr", 2, {"rendr", "did you mean render?"});
  ExpectRefused("--nonsense", 2, {"--nonsense", "gl3 --help"});
  ExpectRefused("render", 2, {"MODEL", "gl3 render --help"});
  ExpectRefused("render ok.obj", 2, {"--output", "gl3 render --help"});
  ExpectRefused(m_render + "--siez 1x1", 2, {"--siez", "did you mean --size?"});
  ExpectRefused(m_render + "--size", 2, {"--size", "missing"});
  ExpectRefused(m_render + "--eye 1,2,3 --target 1,2,3", 2, {"--target", "--eye"});
  ExpectRefused("render ok.obj -o ok.bmp", 2, {"ok.bmp", ".png", ".exr", ".jpg"});
  ExpectRefused("render ok.obj -o x.avi --turntable 2", 2, {"x.avi", ".png", ".mp4", ".gif"});
  ExpectRefused(m_render + "--scale-bar mm", 2, {"2 models", "--scale-bar=mm"});
  ExpectRefused("render -o ok.png --grid 0.5", 3, {"0.5: there is no such", "--grid=0.5"});
  ExpectRefused("info --check --json out.json", 2, {"excludes", "--json=out.json"});
  EXPECT_TRUE(Holds(Done("render --help"), {"--scale-bar [=UNIT]"}));
  ExpectRefused("render ok.obj -o x##.bmp --turntable 2", 2, {"x01.bmp", ".png"});
  ExpectRefused(m_render + "-o other.png", 2, {"--output", "ok.png, other.png"});
  ExpectRefused("render ok.obj b.obj -o ok.png", 2, {"ok.png", "2 models", "%n", "--merge"});
  ExpectRefused("render ok.obj a/ok.obj -o %n.png", 2, {"ok.obj and a/ok.obj", "ok.png"});
  ExpectRefused("render ok.obj --merge -o %n.png", 2, {"%n.png", "--merge", "%%"});
  ExpectRefused("render ok.obj -o x.mp4", 2, {"x.mp4", "one frame", "--turntable"});
  ExpectRefused("render ok.obj -o x##.gif --turntable 2", 2, {"x##.gif", "one file"});
  ExpectRefused("render ok.obj -o - --json", 2, {"--json=FILE"});
  ExpectRefused("render ok.obj -o - --format bmp", 2, {"bmp", "ppm", "rgba"});
  ExpectRefused("render - -o ok.png", 2, {"--model-format"});
  ExpectRefused(m_render + "--camera Main", 2, {"--camera", "Main", "none"});
  Write("text.png", "not a picture");
  ExpectRefused(m_render + "--overlay missing.png,1,2", 3, {"--overlay: ", "missing.png", "; "});
  ExpectRefused(m_render + "--overlay text.png", 3, {"--overlay: ", "text.png", "; "});
}

TEST_F(Refusals, OfModelsThatCannotBeRead) {
  fs::create_directory(Path("folder.obj"));
  Write("empty.obj", "");
  Write("truncated.gltf", std::string(kCamerasGltf).substr(0, 400));
  Write("header.glb", std::string("glTF\2\0\0\0\377", 9));
  Write("noise.fbx", "This is not a model.");
  Write("model.unknown", "v 0 0 0\n");
  Write("nothing.obj", "# nothing to draw\n");
  for (const char* model :
       {"missing.obj", "folder.obj", "empty.obj", "truncated.gltf", "header.glb", "noise.fbx",
        "model.unknown", "nothing.obj", "ok.obj/below.obj"}) {
    ExpectRefused({"render", model, "-o", "ok.png"}, 3, {model, "; "});
  }
  ExpectRefused("render ok.obj missing.obj --merge -o ok.png", 3, {"missing.obj"});
  Write("scene.gltf", kCamerasGltf);
  ExpectRefused("render scene.gltf -o ok.png --scene Loft", 3, {"scene.gltf", "no scene Loft"});
  ExpectRefused("render ok.obj -o ok.png --scene Loft", 3, {"ok.obj", "no scenes"});
}

TEST_F(Refusals, OfOutputThatCannotBeWritten) {
  fs::create_directory(Path("folder.png"));
  fs::create_directory(Path("adir"));
  ExpectRefused("render ok.obj -o adir/", 2, {"adir/ is a folder", "adir/%n.png"});
  ExpectRefused("render ok.obj -o adir --frames 1-2", 2,
                {"adir is a folder", "'adir/%n_####.png'"});
  for (const char* output : {"folder.png", "ok.obj/ok.png", "missing/ok.png"}) {
    ExpectRefused({"render", "ok.obj", "-o", output}, 5, {output, "; "});
  }
  ExpectRefused("render ok.obj -o /proc/ok.png", 5, {"/proc/ok.png", "no files can be made"});
  for (const char* line :
       {"render /proc/cpuinfo -o ok.png", "render /proc/cpuinfo -o %n.png", "info /proc/cpuinfo"}) {
    ExpectRefused(line, 3, {"/proc/cpuinfo", "kernel"});
  }
  ExpectRefused("render ok.obj -o a.png -o b.png", 2, {"--output", "a.png", "b.png", "give one"});
  ExpectRefused(m_render + "--depth missing/z.exr", 5, {"missing/z.exr", "; "});
  ExpectRefused("render ok.obj -o no/x##.png --turntable 2", 5, {"no/x01.png"});
  // As a disk does that fills up in mid-write: the check before the work cannot see it.
  Write("old.png", "old");
  const Gl3Setup small = {.fileSizeLimit = 4096};
  for (const char* output : {"old.png", "new.exr", "new.jpg"}) {
    ExpectRefused({"render", "ok.obj", "-o", output, "-s", "900x900"}, 5,
                  {output, "larger than allowed", "; "}, small);
  }
  EXPECT_EQ(fs::file_size(Path("old.png")), 3u);
}

TEST_F(Refusals, OfModulesAndDevices) {
  // A copy of the program in a folder of its own has no module beside it.
  fs::create_directory(m_base / "modules");
  const std::string folder = (m_base / "modules").string();
  const Gl3Setup setup = {.environment = {"GL3_MODULE_PATH=" + folder},
                          .program = CopyOfTheProgram(m_base / "copy")};
  ExpectRefused(m_render, 4, {"OpenGL3.so", folder, "; "}, setup);

  Write("../modules/OpenGL3.so", "not a library");
  ExpectRefused(m_render, 4, {folder + "/OpenGL3.so", "not a shared library"}, setup);
  ExpectRefused(m_render + "--module ok.obj", 4, {"ok.obj", "not a shared library"});
  ExpectRefused(m_render + "--module missing.so", 4, {"missing.so", "; "});

  ExpectRefused(m_render + "--device 999", 4, {"--device 999", "; "});
  for (const char* wrong : {"GL3_DEVICE=fast", "GL3_PLATFORM=wall"}) {
    ExpectRefused(m_render, 4, {wrong, "; "}, {.environment = {wrong}});
  }
  ExpectRefused(m_render + "--device fast", 4, {"--device fast", "; "});
  const Gl3Setup wrongDevice = {.environment = {"GL3_DEVICE=999"}};
  ExpectRefused(m_render, 4, {"GL3_DEVICE=999", "; "}, wrongDevice);
  EXPECT_EQ(Run(m_render + "-s 16x16 --device cpu", wrongDevice).status, 0)
      << "the flag beats the environment";
}

}  // namespace
