// The command line of gl3-view.
#include "apps/gl3-view/view_options.h"

#include <CLI/CLI.hpp>

#include "apps/base/messages.h"
#include "apps/base/text.h"
#include "apps/options/option_readers.h"

namespace view {
namespace {

constexpr const char* kFooter = R"(
Mouse: left button orbits, middle button (or shift and left) pans, wheel and right
button zoom, a click selects the nearest vertex (with ctrl: one more or less).
Keys: F fits, 1 to 7 are the standard views, P is the projection; the menus tell more.

Examples:
  gl3-view chair.glb
  gl3-view room.obj lamp.glb --device cpu
  gl3-view --settings

Environment: GL3_MODULE_PATH, GL3_DEVICE, GL3_REGISTRY and NO_COLOR as for gl3; DISPLAY
names the X server. Choices are kept in ~/.config/gl3/view.ini.

Exit status: 0 done, 1 failed, 2 wrong usage, 4 no screen, no usable OpenGL or no module.)";

/// --device, as gl3 takes it.
bool ReadDevice(const std::string& text, std::string* device, std::string* error) {
  if (text == "auto" || text == "cpu" || text == "gpu") {
    *device = text;
    return true;
  }
  *error = gl3::ShellQuote(text) + " is not a device for a window; give auto, cpu or gpu";
  return false;
}

std::string UsageMessage(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<std::string> extras = app.remaining();
  if (dynamic_cast<const CLI::ExtrasError*>(&error) && !extras.empty()) {
    return extras.front() + ": no such option; gl3-view --help lists them";
  }
  const std::string what = error.what();
  return what.find("; ") == std::string::npos ? what + "; gl3-view --help lists the options" : what;
}

}  // namespace

bool ReadCommandLine(int argc, char** argv, ViewOptions* options, int* status) {
  CLI::App app("gl3-view shows 3D models in a window, drawn through OpenGL.", "gl3-view");
  app.set_version_flag("--version", "gl3-view " GL3_VERSION, "Print the version");
  app.set_help_flag("-h,--help", "Print this help");
  app.footer(kFooter);
  app.get_formatter()->column_width(25);
  app.add_option("MODEL", options->files, "Model files, shown as one scene")->type_name("");
  gl3::AddOption(app, "--device", "DEVICE", "auto, cpu (the software renderer) or gpu",
                 [=](const std::string& text, std::string* error) {
                   return ReadDevice(text, &options->run.device, error);
                 });
  app.add_option("--module", options->run.module,
                 "The renderer module's file (default: OpenGL3.so, looked for as\n"
                 "gl3 --help tells)")
      ->type_name("PATH")
      ->take_last();
  app.add_flag("--settings", options->settings, "Show the renderer's settings alone");
  app.add_flag_callback(
      "-v,--verbose", [] { gl3::SetVerbosity(gl3::Verbosity::kVerbose); }, "Tell each step");
  app.add_flag("--try-import", options->tryImport)->group("");  // for the viewer's own helper
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForVersion&) {
    *status = gl3::PrintResult("gl3-view " GL3_VERSION "\n");
    return false;
  } catch (const CLI::CallForHelp&) {
    std::string text = app.help();
    for (std::size_t at; (at = text.find("\n\n\n")) != std::string::npos;) text.erase(at, 1);
    *status = gl3::PrintResult(text);
    return false;
  } catch (const CLI::ParseError& error) {
    gl3::PrintError(UsageMessage(app, error));
    *status = gl3::kWrongUsage;
    return false;
  }
  for (const std::string& file : options->files) {
    options->models << QString::fromLocal8Bit(file.c_str());
  }
  return true;
}

}  // namespace view
