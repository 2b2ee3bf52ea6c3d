// What there is to tell of a model.
#pragma once

#include <string>

#include "apps/work/common/report_json.h"
#include "apps/work/info/info_report.h"
#include "hostkit/scene/scene.h"

namespace gl3 {

/// A model that was read from `path`, as it was read: format, unit, size, what it consists of, and
/// its warnings.
Json DescribeModel(const std::string& path, const hostkit::Scene& scene);

/// Such a description as lines, without the path. What there is nothing of is left out; lists name
/// the first twenty, and of warnings each has a line of its own.
ReportLines LinesOf(const Json& model);

}  // namespace gl3
