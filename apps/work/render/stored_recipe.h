// The recipe in a picture, for whoever repeats it.
#pragma once

#include <string>

#include "apps/base/messages.h"
#include "apps/base/supervised_child.h"
#include "apps/options/run_options.h"

namespace gl3 {

/// Reads the recipe of the picture at `path` and leaves its entries in `*result`, name and value in
/// turn, as JoinCommand writes them. kUnreadableInput with a message when there is none. To be
/// called in a supervised child, which is confined to that file, or fails where `run` is to be
/// confined.
Outcome StoredRecipe(const std::string& path, const RunOptions& run, ParentLine& line,
                     std::string* result);

}  // namespace gl3
