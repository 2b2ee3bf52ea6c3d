// The report of `gl3 info`: a JSON object of sections, and the same as text.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "apps/options/info_options.h"
#include "apps/work/common/report_json.h"
#include "apps/work/info/probe_child.h"

namespace gl3 {

/// The program, where it lies, the module that it finds (or why none).
Json DescribeProgram(const InfoOptions& options);
/// The machine and the process: operating system, processors, memory in bytes, heap, and the
/// environment variables that change what is drawn with what.
Json DescribeSystem();
/// Where the settings are kept and whether they can be changed, and those in force.
Json DescribeSettings();

/// Opens display and module, and tells a JSON object for each thing that is found: "at", what is
/// begun; "display", "opengl", "limits", "driver", "milliseconds"; "problem", why it cannot go on;
/// with `all` also "extendedReport" and "extensions". For a child process.
void TellDevice(const InfoOptions& options, bool all, const Tell& tell);

/// Labels with their values, which may have several lines.
using ReportLines = std::vector<std::pair<std::string, std::string>>;

/// The values one under the other.
std::string Aligned(const ReportLines& lines);

/// The sections as text, without the long ones.
std::string FormatInfo(const Json& report);

}  // namespace gl3
