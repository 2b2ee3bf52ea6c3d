// `gl3 view`: starts the viewer, which reads the arguments itself.
#include <string>
#include <vector>

#include "apps/gl3/start_viewer.h"
#include "apps/gl3/verbs.h"

namespace gl3 {

VerbJob AddViewVerb(const OptionParser& parser) {
  parser.PassOn();
  parser.SetFooter(R"(
Everything that follows goes to the viewer: gl3-view --help tells what it takes.

Example:
  gl3 view chair.glb)");
  return [parser](const std::vector<std::string>&) {
    return StartViewer(parser.PassedOn(), ", or use gl3 render");
  };
}

}  // namespace gl3
