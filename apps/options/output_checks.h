// What a run of `gl3 render` makes, and whether the names of its files have places for that.
#pragma once

#include <string>

#include "apps/base/messages.h"
#include "apps/options/render_options.h"

namespace gl3 {

/// Names of files that cannot be told apart, and outputs that mean nothing. kWrongUsage with a
/// message, or kDone.
Outcome CheckOutputs(const RenderOptions& options);

/// An option that counts once and is given several times: kWrongUsage with a message that names it,
/// or kDone. `given` has parsed the command line.
Outcome CheckGivenOnce(const OptionParser& given, const std::string& option);

}  // namespace gl3
