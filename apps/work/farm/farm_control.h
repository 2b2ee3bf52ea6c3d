// Farms that were submitted: how far they are, waiting for their end, ending them.
#pragma once

#include <string>

#include "apps/base/messages.h"
#include "apps/options/farm_options.h"
#include "apps/work/farm/farm_plan.h"

namespace gl3 {

/// Keeps, for this user, in which folder the farm with the scheduler's number `id` is.
void RememberFarm(const std::string& id, const FarmFolder& folder);

/// `gl3 farm status|wait|cancel ID`, with a number or a folder. Returns the exit status.
int ControlFarm(const std::string& action, const std::string& id, const FarmOptions& options);

}  // namespace gl3
