// Whether a node can draw, and draws as the first one does.
#pragma once

#include <string>

#include "apps/base/messages.h"
#include "apps/options/run_options.h"
#include "apps/work/farm/farm_plan.h"

namespace gl3 {

/// The name of this node: the scheduler's, else the machine's.
std::string NodeName();

/// Checks this node, unless it has passed since the farm began, and leaves what `gl3 info --check
/// --json` says in the farm's folder, with the renderer's name and version. The first node's
/// renderer is that of the farm. kNoOpenGl with a message when the node cannot draw or, unless
/// `allowMixed`, has another renderer.
Outcome CheckNode(const FarmFolder& folder, const RunOptions& run, bool allowMixed);

}  // namespace gl3
