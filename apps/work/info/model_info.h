// What `gl3 info` tells of models, and of the kinds of files.
#pragma once

#include <string>

#include "apps/base/messages.h"
#include "apps/options/info_options.h"

namespace gl3 {

/// Imports the models, each in a process of its own, and leaves what is in them in `*result`. Those
/// that fail are told at once, and the rest all the same; the status is that of the first failure,
/// and there is no message then.
Outcome TellModels(const InfoOptions& options, std::string* result);

/// The kinds of files that are read and written. kRunFailed with a message when the process that
/// imports models cannot be asked.
Outcome TellFormats(const InfoOptions& options, std::string* result);

}  // namespace gl3
