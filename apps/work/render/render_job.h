// The work of `gl3 render`, from model files to picture files.
#pragma once

#include <string>

#include "apps/base/messages.h"
#include "apps/base/supervised_child.h"
#include "apps/options/render_options.h"

namespace gl3 {

/// Imports, draws and writes. To be called in a supervised child; tells its steps and warnings
/// through `line`, and leaves the report in `*result` when --json asks for it. `command` goes into
/// the pictures' recipes.
Outcome Render(const RenderOptions& options, const std::string& command, ParentLine& line,
               std::string* result);

}  // namespace gl3
