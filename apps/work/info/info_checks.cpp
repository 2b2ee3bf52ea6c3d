// The verdicts of `gl3 info --check`.
#include "apps/work/info/info_checks.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string_view>
#include <system_error>

#include "apps/base/run_program.h"
#include "apps/base/text.h"
#include "apps/options/movie_kinds.h"
#include "apps/work/common/driver_session.h"
#include "apps/work/common/font_check.h"
#include "apps/work/info/test_frame.h"
#include "host/GADriver.h"
#include "hostkit/confine/confine.h"
#include "hostkit/services/module_loader.h"
#include "hostkit/services/module_settings.h"
#include "hostkit/services/registry.h"
#include "platform/platform.h"

namespace gl3 {
namespace {

constexpr const char* kUpdate = "update the OpenGL driver, or try --device cpu";

enum class Level { kOk, kWarn, kFail };

struct Verdict {
  Level level = Level::kOk;
  std::string reason;  ///< What was found.
  std::string remedy;  ///< Empty when all is well.
};

/// What the checks before have opened.
struct Findings {
  const InfoOptions& options;
  platform::RendererReport gl;
  std::unique_ptr<DriverSession> session;
  std::unique_ptr<TestSurface> surface;
};

/// A message "reason; remedy" as a failure.
Verdict Fail(const std::string& message) {
  const std::size_t cut = message.rfind("; ");
  if (cut == std::string::npos) return {Level::kFail, message, "see gl3 info -v"};
  return {Level::kFail, message.substr(0, cut), message.substr(cut + 2)};
}

Verdict CheckSettings(Findings&) {
  std::string odd;
  for (const hostkit::ModuleSetting& setting : hostkit::ModuleSettings()) {
    const int value = hostkit::ReadModuleSetting(setting).value;
    if (value < setting.least || value > setting.most) odd = setting.key;
  }
  // Nothing of this stops work: what cannot be read or stored has its standard value.
  const std::string trouble = hostkit::RegistryError();
  if (!trouble.empty()) return {Level::kWarn, Fail(trouble).reason, Fail(trouble).remedy};
  if (!odd.empty()) {
    return {Level::kWarn, odd + " has a value out of its range",
            "gl3 settings set " + ShellQuote(odd) + " default"};
  }
  const hostkit::SettingsPlace place = hostkit::FindSettingsPlace();
  if (!place.writable) {
    const Verdict why = Fail(place.problem);
    const std::string file = place.path.empty() ? "" : place.path + ": ";
    return {Level::kWarn, file + "settings cannot be stored: " + why.reason, why.remedy};
  }
  return {Level::kOk, place.path + (place.exists ? "" : " (not there yet)"), ""};
}

/// Whether processes that read the files of strangers can be confined.
Verdict CheckConfinement(Findings&) {
  const hostkit::ConfineResult missing = hostkit::ConfinementSupport();
  if (missing.files.empty() && missing.calls.empty()) {
    return {Level::kOk, "files and system calls can be limited", ""};
  }
  const char* also = missing.files.empty() || missing.calls.empty() ? "" : ", and ";
  return {
      Level::kWarn, missing.files + also + missing.calls,
      "use a kernel with Landlock and seccomp, or read strangers' files as a user of their own"};
}

Verdict CheckModule(Findings& findings) {
  std::string error;
  const std::string& given = findings.options.run.module;
  const std::string path = given.empty() ? hostkit::FindModule(&error) : given;
  if (path.empty() || !hostkit::LoadedModule::Load(path, &error)) return Fail(error);
  return {Level::kOk, path, ""};
}

/// A graphics processor's device file that this user may not open; empty when there is none.
std::string ForbiddenRenderNode() {
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/dev/dri", error)) {
    std::string path = entry.path().string();
    const bool isNode = entry.path().filename().string().starts_with("renderD");
    if (isNode && access(path.c_str(), R_OK | W_OK) != 0) return path;
  }
  return "";
}

Verdict CheckDisplay(Findings& findings) {
  const Outcome opened = OpenDisplay(findings.options.run.device);
  if (opened.status != kDone) return Fail(opened.message);
  const platform::DisplayReport& report = platform::DescribeDisplay();
  const char* how = report.software ? ", drawn on the processor" : "";
  const char* wish = std::getenv("GL3_DEVICE");
  const bool onPurpose = wish && std::string_view(wish) == "cpu";
  const std::string node = report.software && !onPurpose ? ForbiddenRenderNode() : "";
  if (!node.empty()) {
    return {Level::kWarn, "drawn on the processor, since " + node + " may not be opened",
            "add the user to the group that owns it, mostly render"};
  }
  return {Level::kOk,
          fmt::format("{}{}{}{}", report.platform, report.device.empty() ? "" : ": ", report.device,
                      how),
          ""};
}

Verdict CheckVersion(Findings& findings) {
  findings.gl = platform::DescribeRenderer();
  const std::string& version = findings.gl.version;
  int major = 0, minor = 0;
  if (std::sscanf(version.c_str(), "%d.%d", &major, &minor) != 2) {
    return {Level::kFail, "no context can be made", kUpdate};
  }
  const std::string found = findings.gl.renderer + ", OpenGL " + version;
  if (major * 10 + minor <= 20) return {Level::kFail, found + ", and 2.1 is needed", kUpdate};
  return {Level::kOk, found, ""};
}

Verdict CheckExtensions(Findings& findings) {
  const auto& names = findings.gl.extensions;
  const auto missing = [&](std::string_view name) {
    return std::find(names.begin(), names.end(), name) == names.end();
  };
  for (const char* name :
       {"GL_ARB_texture_non_power_of_two", "GL_ARB_depth_texture", "GL_EXT_framebuffer_object"}) {
    if (missing(name)) return {Level::kFail, std::string(name) + " is missing", kUpdate};
  }
  if (missing("GL_EXT_texture_filter_anisotropic")) {
    return {Level::kWarn, "GL_EXT_texture_filter_anisotropic is missing: textures blur at an angle",
            kUpdate};
  }
  return {Level::kOk, fmt::format("all needed ones, of {}", names.size()), ""};
}

Verdict CheckDriver(Findings& findings) {
  // A user's settings, wires say, are no faults.
  for (const hostkit::ModuleSetting& setting : hostkit::ModuleSettings()) {
    hostkit::OverrideRegistryValue(setting.section, setting.key, setting.standard);
  }
  Outcome outcome;
  const RunOptions& run = findings.options.run;
  findings.session = DriverSession::Start({run.device, run.module}, &outcome);
  if (!findings.session) return Fail(outcome.message);
  return {Level::kOk, "started", ""};
}

Verdict CheckSurface(Findings& findings) {
  findings.surface = TestSurface::Create(findings.session->Driver());
  if (!findings.surface) return {Level::kFail, "no off-screen surface can be made", kUpdate};
  const int side = platform::MaxPbufferSize();
  return {Level::kOk, fmt::format("off-screen, up to {0} x {0} pixels", side), ""};
}

Verdict CheckFrame(Findings& findings) {
  const std::string wrong = findings.surface->DrawAndCompare();
  if (!wrong.empty()) return {Level::kFail, wrong, kUpdate};
  return {Level::kOk, "drawn and read back right", ""};
}

Verdict CheckEffect(Findings& findings) {
  const std::string wrong = RunTestEffect(findings.session->Driver());
  if (wrong.find("; ") != std::string::npos) return Fail(wrong);
  if (!wrong.empty()) return {Level::kFail, wrong, kUpdate};
  return {Level::kOk, "shader programs work, GLSL " + findings.gl.shadingLanguage, ""};
}

Verdict CheckText(Findings&) {
  const std::string problem = FontProblem();
  if (problem.empty()) return {Level::kOk, "a font was found", ""};
  // Everything but text is drawn without a font.
  return {Level::kWarn, Fail(problem).reason, Fail(problem).remedy};
}

Verdict CheckMovies(Findings&) {
  const std::string program = FindProgram(kMovieProgram);
  if (!program.empty()) return {Level::kOk, program, ""};
  // Nothing else needs it.
  return {Level::kOk, "none can be made, without ffmpeg", "install ffmpeg for -o turn.mp4"};
}

struct Check {
  const char* name;
  Verdict (*run)(Findings&);
};

// Those that need no OpenGL come first, and only warn: after a failure nothing more can be asked.
constexpr Check kChecks[] = {
    {"settings", CheckSettings},
    {"text", CheckText},
    {"confinement", CheckConfinement},
    {"movies", CheckMovies},
    {"module", CheckModule},
    {"display", CheckDisplay},
    {"opengl", CheckVersion},
    {"extensions", CheckExtensions},
    {"driver", CheckDriver},
    {"surface", CheckSurface},
    {"frame", CheckFrame},
    {"effects", CheckEffect},
};

Json CheckJson(const std::string& name, const Verdict& verdict) {
  constexpr const char* kNames[] = {"OK", "WARN", "FAIL"};
  const bool failed = verdict.level == Level::kFail;
  return {{"name", name},
          {"verdict", kNames[static_cast<int>(verdict.level)]},
          {"reason", verdict.reason},
          {"remedy", verdict.remedy},
          {"status", failed ? kNoOpenGl : kDone}};
}

}  // namespace

void TellChecks(const InfoOptions& options, const Tell& tell) {
  Findings findings{options, {}, nullptr, nullptr};
  for (const Check& check : kChecks) {
    tell(JsonLine({{"at", check.name}}));
    const Verdict verdict = check.run(findings);
    tell(JsonLine({{"verdict", CheckJson(check.name, verdict)}}));
    if (verdict.level == Level::kFail) break;
  }
  tell(JsonLine({{"at", ""}}));
}

Json CollectChecks(const std::vector<Json>& told, const std::string& trouble) {
  Json checks = Json::array();
  std::string at = kChecks[0].name;
  for (const Json& piece : told) {
    if (piece.contains("at")) at = piece["at"];
    if (!piece.contains("verdict")) continue;
    checks.push_back(piece["verdict"]);
  }
  // After the last verdict only clearing up is left; what happens there changes no verdict.
  if (!trouble.empty() && !at.empty()) {
    checks.push_back(CheckJson(at, {Level::kFail, "the driver " + trouble, kUpdate}));
  }
  const auto count = [&](const char* verdict) {
    return std::count_if(checks.begin(), checks.end(),
                         [&](const Json& check) { return check["verdict"] == verdict; });
  };
  Json skipped = Json::array();
  for (std::size_t i = checks.size(); i < std::size(kChecks); ++i)
    skipped.push_back(kChecks[i].name);
  return {{"checks", checks},
          {"failed", count("FAIL")},
          {"warnings", count("WARN")},
          {"notChecked", skipped}};
}

std::string FormatChecks(const Json& report) {
  std::string text;
  for (const Json& check : report["checks"]) {
    const auto part = [&](const char* name) { return OneLine(check[name].get<std::string>()); };
    const std::string remedy = part("remedy");
    text += fmt::format("{:<5} {:<11} {}{}{}\n", part("verdict"), part("name"), part("reason"),
                        remedy.empty() ? "" : "; ", remedy);
  }
  std::vector<std::string> skipped = report["notChecked"];
  if (!skipped.empty()) text += "      not checked for that reason: " + JoinNames(skipped) + "\n";
  const int failed = report["failed"], warnings = report["warnings"];
  if (failed == 0) {
    text += warnings == 0
                ? "Everything works.\n"
                : fmt::format("Drawing works; {} warning{}.\n", warnings, warnings == 1 ? "" : "s");
  }
  return text;
}

Outcome ConcludeChecks(const Json& report) {
  for (const Json& check : report["checks"]) {
    if (check["verdict"] != "FAIL") continue;
    return {check["status"].get<int>(),
            fmt::format("{}: {}; {}", check["name"].get<std::string>(),
                        check["reason"].get<std::string>(), check["remedy"].get<std::string>())};
  }
  return {};
}

}  // namespace gl3
