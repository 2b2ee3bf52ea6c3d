// Reading, filtering and writing pictures, in a supervised child.
#pragma once

#include <cstddef>
#include <vector>

#include "apps/base/messages.h"
#include "apps/base/supervised_child.h"
#include "apps/options/filter_options.h"

namespace gl3 {

/// What one child does of a run.
struct FilterPart {
  std::vector<std::size_t> pictures;  ///< Indices into the job's inputs.
  std::size_t done = 0;               ///< Pictures of the run that are there before it.
  bool isFirst = true;                ///< No child of this run came before.
  bool hasWarnedOfClipping = false;   ///< One of them has.
};

/// Filters one picture after another. Tells its steps, warnings and each picture's failure through
/// `line`, and the pieces of a FilterReport. Fails itself only when nothing can be filtered. When
/// decoding a picture crashes, those that follow are left to another child.
Outcome FilterPictures(const FilterJob& job, const FilterPart& part, ParentLine& line);

}  // namespace gl3
