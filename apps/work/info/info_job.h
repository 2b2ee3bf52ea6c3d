// The work of `gl3 info`.
#pragma once

#include <string>

#include "apps/base/messages.h"
#include "apps/options/info_options.h"

namespace gl3 {

/// Finds out what `options` ask for and leaves the report in `*result`, also when it tells of a
/// failure: the outcome is kNoOpenGl then, with the first thing that failed. OpenGL is asked in
/// child processes; call with one thread.
Outcome Info(const InfoOptions& options, std::string* result);

}  // namespace gl3
