// One task of a farm, on whichever node it comes to.
#pragma once

#include <cstddef>
#include <string>

namespace gl3 {

/// Checks the node, and draws those pictures of the task, by number from 1, that are not there yet.
/// Leaves its report in the farm's folder. Returns the exit status, after messages. May be called
/// any number of times for the same task: it goes on.
int RunFarmTask(const std::string& folder, int round, std::size_t task);

}  // namespace gl3
