// What a run of `gl3 render` or `gl3 filter` told in JSON, as a farm needs it.
#pragma once

#include <string>

#include "apps/work/farm/farm_command.h"

namespace gl3 {

/// Of a report as `gl3 render --json` gives it; `output` is the pattern of its pictures' names, in
/// which cameras' names are looked for. Empty text is a run that came to no end.
PartReport ReadRenderReport(const std::string& json, const std::string& output);

/// The same of a run that drew each of its models by itself.
PartReport ReadEachReport(const std::string& json);

/// The same of `gl3 filter --json`.
PartReport ReadFilterReport(const std::string& json);

}  // namespace gl3
