// `gl3 view`: starts the viewer, which reads the arguments itself.
#include <CLI/CLI.hpp>

#include "apps/gl3/start_viewer.h"
#include "apps/gl3/verbs.h"

namespace gl3 {

VerbJob AddViewVerb(CLI::App& app) {
  app.prefix_command();  // whatever follows is the viewer's
  app.footer(R"(
Everything that follows goes to the viewer: gl3-view --help tells what it takes.

Example:
  gl3 view chair.glb)");
  return [&app](const std::string&) { return StartViewer(app.remaining(), ", or use gl3 render"); };
}

}  // namespace gl3
