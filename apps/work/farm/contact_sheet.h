// Many pictures on one, to be looked over.
#pragma once

#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/options/run_options.h"

namespace gl3 {

/// Draws the pictures in rows, scaled down, at most 64 of them, evenly chosen, onto one that is
/// written to `path`. An empty name, or one that cannot be read, is a red field. In a child
/// process.
Outcome WriteContactSheet(const std::vector<std::string>& pictures, const RunOptions& run,
                          const std::string& path);

}  // namespace gl3
