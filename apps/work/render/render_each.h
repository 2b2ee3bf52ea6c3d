// The work of `gl3 render` where each model has pictures of its own.
#pragma once

#include <cstddef>

#include "apps/options/render_options.h"
#include "apps/work/render/each_report.h"

namespace gl3 {

/// Imports, draws and writes one model after another, in a supervised child. A model that the child
/// dies over is one that fails: another child goes on behind it. Prints each failure, and then the
/// report that --json asks for. Returns the exit status, that of the first failure. Call with one
/// thread alone.
int RenderEach(const EachJob& job);

/// The same without a report on standard output: it is left in `*report`, with the number of models
/// whose pictures were there before in `*skipped`.
int RenderEachInto(const EachJob& job, EachReport* report, std::size_t* skipped);

}  // namespace gl3
