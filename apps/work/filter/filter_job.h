// The work of `gl3 filter`, from picture files to picture files.
#pragma once

#include <cstddef>

#include "apps/options/filter_options.h"
#include "apps/work/filter/filter_report.h"

namespace gl3 {

/// Reads, filters and writes one picture after another, in a supervised child. A picture that the
/// child dies over is one that fails: another child goes on behind it. Prints each failure, and
/// then the report that --json asks for or the differences that --verify asks for. Returns the exit
/// status, that of the first failure. Call with one thread alone.
int Filter(const FilterJob& job);

/// The same without a report on standard output: it is left in `*report`, with the number of
/// pictures that were there before in `*skipped`.
int FilterInto(const FilterJob& job, FilterReport* report, std::size_t* skipped);

}  // namespace gl3
