// The work of `gl3 render` where each model has pictures of its own.
#pragma once

#include "apps/options/render_options.h"

namespace gl3 {

/// Imports, draws and writes one model after another, in a supervised child. A model that the child
/// dies over is one that fails: another child goes on behind it. Prints each failure, and then the
/// report that --json asks for. Returns the exit status, that of the first failure. Call with one
/// thread alone.
int RenderEach(const EachJob& job);

}  // namespace gl3
