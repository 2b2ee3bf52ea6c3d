// Loads the part of gl3 that needs OpenGL, importers and picture libraries.
#include "apps/gl3/work_library.h"

#include <dlfcn.h>

#include <string>

namespace gl3 {

const WorkTable* LoadWork(Outcome* outcome) {
  // Global, since the renderer module takes the host's services from what the process has loaded.
  void* library = dlopen(GL3_WORK_LIBRARY, RTLD_NOW | RTLD_GLOBAL);
  const void* table = library ? dlsym(library, "kGl3Work") : nullptr;
  if (!table) {
    const char* why = dlerror();
    *outcome = {kNoOpenGl, std::string(why ? why : GL3_WORK_LIBRARY " cannot be loaded") +
                               "; install what is missing, or build gl3 again"};
  }
  return static_cast<const WorkTable*>(table);
}

}  // namespace gl3
