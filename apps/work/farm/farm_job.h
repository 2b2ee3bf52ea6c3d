// The work of `gl3 farm`.
#pragma once

#include "apps/options/farm_options.h"

namespace gl3 {

/// Does what the words of the options ask for: shares a command line, tells of a farm, or is one
/// of the processes that a farm is made of. Returns the exit status, after messages. Call with one
/// thread alone.
int Farm(const FarmOptions& options);

}  // namespace gl3
