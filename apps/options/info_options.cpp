// What `gl3 info` is asked for.
#include "apps/options/info_options.h"

#include <CLI/CLI.hpp>

namespace gl3 {
namespace {

/// A driver that has not answered by then hangs.
constexpr double kTimeoutSeconds = 60;

constexpr const char* kFooter = R"(
What it prints is what a bug report needs. Each device is asked in a process of
its own: a driver that crashes or hangs is told, and the rest of the report
comes all the same.

Exit status of --check: 0 when nothing failed (warnings allow work), else 4.

Examples:
  gl3 info
  gl3 info --check
  gl3 info --all-devices
  gl3 info --device cpu --extended
  gl3 info --json > report.json)";

CLI::Option* AddKind(CLI::App& app, InfoOptions* options, const char* name, InfoKind kind,
                     const char* help) {
  return app.add_flag_callback(
      name, [=] { options->kind = kind; }, help);
}

}  // namespace

void AddInfoOptions(CLI::App& app, InfoOptions* options) {
  app.option_defaults()->group("Report");
  CLI::Option* check = AddKind(app, options, "--check", InfoKind::kCheck,
                               "A verdict on each thing that the programs need: OK, WARN or\n"
                               "FAIL, with the reason and the remedy");
  CLI::Option* extended = AddKind(app, options, "--extended", InfoKind::kExtended,
                                  "The renderer's extended report, and nothing else");
  CLI::Option* extensions = AddKind(app, options, "--extensions", InfoKind::kExtensions,
                                    "The OpenGL extensions, one a line, and nothing else");
  CLI::Option* all = app.add_flag("--all-devices", options->allDevices,
                                  "Ask every device that EGL lists, one after another");
  check->excludes(extended)->excludes(extensions);
  extended->excludes(extensions)->excludes(all);
  extensions->excludes(all);

  options->run.limits.timeoutSeconds = kTimeoutSeconds;
  AddRunOptions(app, &options->run);
  app.get_option("--json")->description("The report as JSON, with extensions and limits");
  app.get_option("--timeout")->description("Give up on a device after this time; 0: never (60)");
  app.get_option("--device")->excludes(all);
  // A process that only asks needs no such limit.
  app.remove_option(app.get_option("--max-memory"));
  app.footer(kFooter);
}

}  // namespace gl3
