// `gl3 info`: the report, the checks and what makes them fail, drivers that crash or hang, places
// that have nothing.
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/common/gl3_process.h"

using Json = nlohmann::json;

namespace {

using Info = Gl3Test;

/// An X server that takes connections and never says a word: whoever opens it hangs.
class MuteServer {
 public:
  MuteServer() : m_socket(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(m_socket, generic, size) == 0 && listen(m_socket, 4) == 0 &&
        getsockname(m_socket, generic, &size) == 0) {
      m_port = ntohs(address.sin_port);
    }
  }
  ~MuteServer() { close(m_socket); }
  MuteServer(const MuteServer&) = delete;
  MuteServer& operator=(const MuteServer&) = delete;

  /// gl3 that wants its windows there.
  Gl3Setup Setup() const {
    Gl3Setup setup;
    setup.environment = {"GL3_PLATFORM=x11", "DISPLAY=127.0.0.1:" + std::to_string(m_port - 6000)};
    return setup;
  }

 private:
  int m_socket;
  int m_port = 0;
};

TEST_F(Info, ReportsWhatTheRendererSays) {
  const Gl3Result result = Run({"info", "--json"});
  ASSERT_EQ(result.status, 0) << result.err;
  const Json report = Json::parse(result.out);
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
  EXPECT_NE(report["gl3"]["module"].get<std::string>().find("OpenGL3.so"), std::string::npos);
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
  EXPECT_NE(names.find("GL_EXT_framebuffer_object\n"), std::string::npos);
  const Gl3Result text = Run({"info"});
  EXPECT_EQ(text.err, "");
  for (const std::string& part : {renderer, vendor, std::string("pbuffer size")}) {
    EXPECT_NE(text.out.find(part), std::string::npos) << part << " is not in " << text.out;
  }
}

TEST_F(Info, ChecksEverythingThatIsNeeded) {
  Write("registry.ini", "[OpenGL3]\nPolygonmode = 1\n");
  Gl3Setup setup;  // a user's taste is no fault
  setup.environment = {"GL3_REGISTRY=" + Path("registry.ini").string()};
  const Gl3Result result = Run({"info", "--check", "--json"}, setup);
  EXPECT_EQ(result.status, 0) << result.out << result.err;
  const Json report = Json::parse(result.out);
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
            "settings text confinement module display opengl extensions driver surface frame "
            "effects ");
}

TEST_F(Info, TellsWhatIsMissingAndWhatToDo) {
  const struct {
    const char* environment;
    int status;
    std::vector<std::string> told;
  } cases[] = {
      {"GL3_MODULE_PATH=/", 0, {"OK    module"}},  // other places follow
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
    Gl3Setup setup;
    // Mesa loses a few bytes with a display that turns out not to fit.
    setup.environment = {environment, "ASAN_OPTIONS=detect_leaks=0"};
    const Gl3Result result = Run({"info", "--check"}, setup);
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(result.err.empty(), status == 0) << result.err;
    for (const std::string& part : told) {
      EXPECT_NE(result.out.find(part), std::string::npos) << part << " is not in " << result.out;
    }
  }
  // The report without checks comes too, and says the same.
  Gl3Setup setup;
  setup.environment = {"GL3_DEVICE=999", "ASAN_OPTIONS=detect_leaks=0"};
  const Gl3Result result = Run({"info"}, setup);
  EXPECT_EQ(result.status, 4);
  EXPECT_NE(result.out.find("GL3_DEVICE=999"), std::string::npos) << result.out;
  EXPECT_EQ(result.err.rfind("gl3: OpenGL: GL3_DEVICE=999", 0), 0u) << result.err;
  EXPECT_NE(
      Run({"info", "--check", "--device", "999"}, setup).out.find("display     --device 999: "),
      std::string::npos);
  ExpectRefused({"info", "--extended", "--module", "none.so"}, 4, {"none.so", "; "});
  ExpectRefused({"info", "--extended", "--all-devices"}, 2, {"excludes"});
}

TEST_F(Info, OutlivesDriversThatCrashOrHang) {
  const MuteServer server;
  Gl3Process process(m_work, m_logs, {"info", "-v"}, server.Setup());
  ASSERT_TRUE(process.WaitFor("opening the display"));
  ASSERT_GT(process.Child(), 0);
  kill(process.Child(), SIGABRT);
  Gl3Result result = process.Finish();
  EXPECT_EQ(result.status, 4);
  EXPECT_NE(LastLine(result.err).find("opening the display crashed (Aborted); "),
            std::string::npos);
  EXPECT_NE(result.out.find("memory"), std::string::npos)
      << "what is known is told: " << result.out;

  result = Run({"info", "--check", "--timeout", "2"}, server.Setup());
  EXPECT_EQ(result.status, 4);
  EXPECT_NE(result.out.find("FAIL  display     the driver took longer than 2 s; "),
            std::string::npos)
      << result.out;
}

TEST_F(Info, ForgivesACrashAfterTheLastVerdict) {
  Gl3Setup setup;
  setup.environment = {"LD_PRELOAD=" GL3_WRONG_TEXELS, "GL3_CRASH_AFTERWARDS=1",
                       "ASAN_OPTIONS=verify_asan_link_order=0:intercept_tls_get_addr=0"};
  const Json report = Json::parse(Run({"info", "--check", "--json"}, setup).out);
  EXPECT_EQ(report["failed"], 1) << report;
  EXPECT_EQ(report["checks"].back()["name"], "effects");
  EXPECT_NE(report["checks"].back()["reason"].get<std::string>().find("8/255"), std::string::npos);
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
  EXPECT_NE(Run({"info", "--all-devices", "--check"}).out.find("==== Device 0"), std::string::npos);
}

TEST_F(Info, NeedsNothingFromItsSurroundings) {
  Gl3Setup bare;
  bare.environment = {"HOME=", "XDG_CONFIG_HOME=", "GL3_REGISTRY=", "DISPLAY=", "PATH=", "LANG="};
  const Gl3Result result = Run({"info", "--check"}, bare);
  EXPECT_EQ(result.status, 0) << result.out;
  EXPECT_NE(result.out.find("WARN  settings"), std::string::npos) << result.out;

  // A system that nothing can be written to, where that can be had.
  Gl3Setup readOnly;
  readOnly.program = "/usr/bin/unshare";
  const auto inside = [](const std::string& command) {
    return std::vector<std::string>{"-rm", "sh", "-c", "mount -o remount,bind,ro / && " + command};
  };
  if (Run(inside("! touch /read-only-test"), readOnly).status != 0) GTEST_SKIP() << "no namespaces";
  readOnly.environment = {"HOME=/root", "GL3_REGISTRY="};
  for (const char* verb : {"info", "info --check", "settings"}) {
    const Gl3Result there = Run(inside(std::string(GL3_BIN_DIR "/gl3 ") + verb), readOnly);
    EXPECT_EQ(there.status, 0) << verb << there.out << there.err;
    EXPECT_NE(there.out.find("Read-only file system"), std::string::npos) << there.out;
  }
}

}  // namespace
