// Whether the pictures of a farm are there, whole, and made alike.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/work/farm/farm_plan.h"

namespace gl3 {

/// What is wrong with a file.
struct PictureFault {
  std::size_t picture = 0;  ///< Index into the plan's pictures.
  std::string file, why;
};

struct FarmFindings {
  std::size_t whole = 0;  ///< Pictures without any fault.
  std::vector<PictureFault> missing, broken, differing;
  std::string renderer;  ///< Of most pictures; empty when they do not tell.

  /// kRunFailed when pictures are missing or broken, kMismatch when they differ, else kDone; with
  /// the first of them by name.
  Outcome Judge(const FarmFolder& folder) const;
};

/// Looks at the `part`-th of `parts` parts of the pictures, in a supervised child, and leaves what
/// it finds in the farm's folder. Returns the exit status.
int RunFarmVerify(const std::string& folder, int part, int parts);

/// Looks at all pictures, with as many processes as there are processors. Fails where this gl3 does
/// not understand the plan's command.
Outcome CheckPictures(const FarmFolder& folder, const FarmPlan& plan, FarmFindings* findings);

/// Processors that this process may use.
int UsableProcessors();

}  // namespace gl3
