// `gl3 info`: the report, the checks and what makes them fail, drivers that crash or hang, places
// that have nothing.
#include <csignal>
#include <nlohmann/json.hpp>
#include <tuple>

#include "tests/support/common/gl3_process.h"
#include "tests/support/common/holds.h"

using Json = nlohmann::json;

namespace {

using Info = Gl3Test;

TEST_F(Info, ReportsWhatTheRendererSays) {
  const Json report = Json::parse(Done("info --json"));
  int chosen = 0;
  for (const Json& choice : report["display"]["choices"]) {
    EXPECT_NE(choice["reason"], "") << choice;
    if (choice["chosen"]) ++chosen;
    if (choice["chosen"] && !choice.contains("number")) {
      EXPECT_EQ(choice["name"], report["display"]["platform"]);
    }
  }
  EXPECT_GE(chosen, 1);
  EXPECT_GE(report["limits"]["pbufferSize"], 2048);
  EXPECT_GE(report["limits"]["textureSize"], 2048);
  EXPECT_TRUE(Holds(report["gl3"]["module"], {"OpenGL3.so"}));
  EXPECT_GE(report["machine"]["processors"], 1);
  EXPECT_EQ(report["settings"]["values"].size(), 9u);

  const std::string vendor = report["opengl"]["vendor"], brief = report["driver"]["report"],
                    extended = report["extendedReport"], renderer = report["opengl"]["renderer"];
  EXPECT_EQ(brief.rfind("OpenGL3\nVendor: " + vendor + "\nRenderer: ", 0), 0u) << brief;
  EXPECT_EQ(extended.rfind(brief + "\nGL_MAX_TEXTURE_SIZE                : ", 0), 0u) << extended;
  EXPECT_EQ(Run({"info", "--extended"}).out, extended + "\n");
  std::string names;
  for (const Json& name : report["extensions"]) names += name.get<std::string>() + "\n";
  EXPECT_EQ(Run({"info", "--extensions"}).out, names);
  EXPECT_TRUE(Holds(names, {"GL_EXT_framebuffer_object\n"}));
  EXPECT_TRUE(Holds(Done("info"), {renderer, vendor, "pbuffer size"}));
}

TEST_F(Info, ChecksEverythingThatIsNeeded) {
  Write("registry.ini", "[OpenGL3]\nPolygonmode = 1\n");
  // A user's taste is no fault.
  const Gl3Setup setup = {.environment = {"GL3_REGISTRY=" + Path("registry.ini").string()}};
  const Json report = Json::parse(Done("info --check --json", setup));
  EXPECT_EQ(report["failed"], 0);
  EXPECT_EQ(report["notChecked"].size(), 0u);
  std::string names;
  for (const Json& check : report["checks"]) {
    names += check["name"].get<std::string>() + " ";
    EXPECT_NE(check["reason"], "");
    const std::set<std::string> mayWarn = {"confinement", "display", "extensions", "text"};
    EXPECT_TRUE(check["verdict"] == "OK" || mayWarn.count(check["name"])) << check;
  }
  EXPECT_EQ(names,
            "settings text confinement movies module display opengl extensions driver surface "
            "frame effects ");
}

TEST_F(Info, TellsWhatIsMissingAndWhatToDo) {
  const std::tuple<const char*, int, std::vector<std::string>> cases[] = {
      {"GL3_MODULE_PATH=/", 0, {"OK    module"}},  // other places follow
      {"PATH=/", 0, {"OK    movies", "install ffmpeg", "OK    effects"}},
      {"GL3_DEVICE=999", 4, {"FAIL  display", "GL3_DEVICE=999", "not checked", "frame"}},
      {"GL3_PLATFORM=none", 4, {"FAIL  display", "GL3_PLATFORM=none", "unset it"}},
      {"MESA_GL_VERSION_OVERRIDE=2.0", 4, {"FAIL  opengl", "2.1 is needed", "--device cpu"}},
      {"MESA_EXTENSION_OVERRIDE=-GL_ARB_depth_texture", 4, {"FAIL  extensions", "depth_texture"}},
      {"MESA_EXTENSION_OVERRIDE=-GL_EXT_texture_filter_anisotropic",
       0,
       {"WARN  extensions", "1 warning", "OK    effects"}},
      {"GL3_REGISTRY=/dev/null/registry.ini", 0, {"WARN  settings", "GL3_REGISTRY"}},
  };
  const bool mesa =
      Run({"info", "--device", "cpu", "--json"}).out.find("Mesa") != std::string::npos;
  for (const auto& [environment, status, told] : cases) {
    SCOPED_TRACE(environment);
    if (!mesa && std::string(environment).rfind("MESA_", 0) == 0) continue;
    // Mesa loses a few bytes with a display that turns out not to fit.
    const Gl3Result result =
        Run("info --check", {.environment = {environment, "ASAN_OPTIONS=detect_leaks=0"}});
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(result.err.empty(), status == 0) << result.err;
    EXPECT_TRUE(Holds(result.out, told));
  }
  // The report without checks comes too, and says the same.
  const Gl3Setup setup = {.environment = {"GL3_DEVICE=999", "ASAN_OPTIONS=detect_leaks=0"}};
  const Gl3Result result = Run({"info"}, setup);
  EXPECT_EQ(result.status, 4);
  EXPECT_TRUE(Holds(result.out, {"GL3_DEVICE=999"}));
  EXPECT_EQ(result.err.rfind("gl3: OpenGL: GL3_DEVICE=999", 0), 0u) << result.err;
  EXPECT_TRUE(Holds(Run("info --check --device 999", setup).out, {"display     --device 999: "}));
  ExpectRefused({"info", "--extended", "--module", "none.so"}, 4, {"none.so", "; "});
  ExpectRefused({"info", "--extended", "--all-devices"}, 2, {"excludes"});
}

TEST_F(Info, OutlivesDriversThatCrashOrHang) {
  const Gl3Setup hanging = {.environment = {"GL3_HANGS=1"}, .preload = GL3_WRONG_TEXELS};
  Gl3Process process(m_work, m_logs, "info -v", hanging);
  ASSERT_TRUE(process.WaitFor("opening the display"));
  ASSERT_GT(process.Child(), 0);
  kill(process.Child(), SIGABRT);
  Gl3Result result = process.Finish();
  EXPECT_EQ(result.status, 4);
  EXPECT_TRUE(Holds(LastLine(result.err), {"opening the display crashed (Aborted); "}));
  EXPECT_TRUE(Holds(result.out, {"memory"})) << "what is known is told";

  result = Run("info --check --timeout 2", hanging);
  EXPECT_EQ(result.status, 4);
  EXPECT_TRUE(Holds(result.out, {"FAIL  display     the driver took longer than 2 s; "}));
}

TEST_F(Info, ForgivesACrashAfterTheLastVerdict) {
  const Gl3Setup crashing = {.environment = {"GL3_CRASH_AFTERWARDS=1"},
                             .preload = GL3_WRONG_TEXELS};
  const Json report = Json::parse(Run("info --check --json", crashing).out);
  EXPECT_EQ(report["failed"], 1) << report;
  EXPECT_EQ(report["checks"].back()["name"], "effects");
  EXPECT_TRUE(Holds(report["checks"].back()["reason"], {"8/255"}));
}

TEST_F(Info, AsksEveryDeviceByItself) {
  const Gl3Result result = Run({"info", "--all-devices", "--json"});
  if (result.status == 4) GTEST_SKIP() << result.err;  // an EGL without a list
  ASSERT_EQ(result.status, 0) << result.err;
  int number = 0;
  const Json report = Json::parse(result.out);
  for (const Json& device : report["devices"]) {
    EXPECT_EQ(device["number"], number++);
    EXPECT_NE(device.contains("problem"), device.contains("driver")) << device;
  }
  EXPECT_GE(number, 1);
  EXPECT_TRUE(Holds(Run("info --all-devices --check").out, {"==== Device 0"}));
}

TEST_F(Info, NeedsNothingFromItsSurroundings) {
  const Gl3Setup bare = {
      .environment = {"HOME=", "XDG_CONFIG_HOME=", "GL3_REGISTRY=", "DISPLAY=", "PATH=", "LANG="}};
  const Gl3Result result = Run("info --check", bare);
  EXPECT_EQ(result.status, 0) << result.out;
  EXPECT_TRUE(Holds(result.out, {"WARN  settings"}));

  // A system that nothing can be written to, where that can be had.
  Gl3Setup readOnly = {.program = "/usr/bin/unshare"};
  const auto inside = [](const std::string& command) {
    return std::vector<std::string>{"-rm", "sh", "-c", "mount -o remount,bind,ro / && " + command};
  };
  if (Run(inside("! touch /read-only-test"), readOnly).status != 0) GTEST_SKIP() << "no namespaces";
  readOnly.environment = {"HOME=/root", "GL3_REGISTRY="};
  for (const char* verb : {"info", "info --check", "settings"}) {
    const Gl3Result there = Run(inside(std::string(GL3_BIN_DIR "/gl3 ") + verb), readOnly);
    EXPECT_EQ(there.status, 0) << verb << there.out << there.err;
    EXPECT_TRUE(Holds(there.out, {"Read-only file system"}));
  }
}

}  // namespace
