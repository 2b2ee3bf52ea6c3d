// The command line of gl3-view.
#include "apps/gl3-view/view_options.h"

#include <optional>

#include "apps/base/messages.h"
#include "apps/base/text.h"
#include "apps/options/option_parser.h"

namespace view {
namespace {

constexpr const char* kFooter = R"(
Mouse: left button orbits, middle button (or shift and left) pans, wheel and right
button zoom, a click selects the nearest vertex (with ctrl: one more or less).
Keys: F fits, 1 to 7 are the standard views, P is the projection, arrow keys and + and -
move the camera, space plays, F5 reads the files anew; F1 lists all of them.
Files that change are read anew by themselves; camera and choices stay.

Examples:
  gl3-view chair.glb
  gl3-view room.obj lamp.glb --device cpu
  gl3-view --settings

Environment: GL3_MODULE_PATH, GL3_DEVICE, GL3_CONFINED, GL3_REGISTRY and NO_COLOR as for
gl3; DISPLAY names the X server. Choices are kept in ~/.config/gl3/view.ini.

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

}  // namespace

bool ReadCommandLine(int argc, char** argv, ViewOptions* options, int* status) {
  const gl3::OptionParser parser("gl3-view",
                                 "gl3-view shows 3D models in a window, drawn through OpenGL.",
                                 "gl3-view " GL3_VERSION);
  parser.SetFooter(kFooter);
  parser.AddWords("MODEL", "...", "Model files, shown as one scene", &options->files);
  parser.Add("--device", "DEVICE", "auto, cpu (the software renderer) or gpu",
             [=](const std::string& text, std::string* error) {
               return ReadDevice(text, &options->run.device, error);
             });
  parser.AddText("--module", "PATH",
                 "The renderer module's file (default: OpenGL3.so, looked for as\n"
                 "gl3 --help tells)",
                 &options->run.module);
  gl3::AddConfinedOption(parser, &options->run);
  parser.AddFlag("--settings", "Show the renderer's settings alone", &options->settings);
  parser.AddFlag("-v,--verbose", "Tell each step",
                 [] { gl3::SetVerbosity(gl3::Verbosity::kVerbose); });
  if (const std::optional<int> over = parser.ParseProgram(argc, argv)) {
    *status = *over;
    return false;
  }
  for (const std::string& file : options->files) {
    options->models << QString::fromLocal8Bit(file.c_str());
  }
  return true;
}

}  // namespace view
