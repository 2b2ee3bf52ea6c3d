// The work of `gl3 settings`: showing and changing what the registry holds.
#pragma once

#include <string>

#include "apps/base/messages.h"
#include "apps/options/settings_options.h"

namespace gl3 {

/// Lists, gets or sets, and leaves in `*result` what standard output shall get. kWrongUsage for an
/// action, key or value that does not exist, with the nearest one or the range; kUnwritableOutput
/// when a setting cannot be stored, the message being empty where the registry has told the user.
/// Needs no OpenGL.
Outcome Settings(const SettingsOptions& options, std::string* result);

}  // namespace gl3
