// The work of `gl3 filter`, from picture files to picture files.
#pragma once

#include <string>

#include "apps/gl3/filter_options.h"
#include "apps/gl3/messages.h"
#include "apps/gl3/supervised_child.h"

namespace gl3 {

/// Reads, filters and writes one picture after another. To be called in a supervised child; tells
/// its steps and warnings through `line`, and of several pictures each one's failure. Leaves in
/// `*result` the report that --json asks for, else the differences that --verify asks for. The
/// status is that of the first failure.
Outcome Filter(const FilterJob& job, ParentLine& line, std::string* result);

}  // namespace gl3
