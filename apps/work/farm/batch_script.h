// The scripts that a scheduler runs.
#pragma once

#include <cstddef>
#include <string>

#include "apps/work/farm/chunk_plan.h"

namespace gl3 {

/// What stands in them.
struct BatchWork {
  std::string program;  ///< This one, as the nodes see it.
  std::string folder;   ///< Of the job.
  int round = 1;
  std::size_t tasks = 0;  ///< In the array.
  int atATime = 0;        ///< Of them; 0: any number.
  int processors = 1;     ///< Of a task.
  TaskLimits limits;      ///< Of a task.
  int checkMinutes = 0;   ///< Limit of the check.
};

/// Draws the pictures of one task of the array.
std::string ArrayScript(const BatchWork& work);

/// Looks at all pictures behind the array.
std::string CheckScript(const BatchWork& work);

}  // namespace gl3
