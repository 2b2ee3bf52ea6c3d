// The report of `gl3 info`: a JSON object of sections, and the same as text.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "apps/options/info_options.h"
#include "apps/work/info/probe_child.h"

namespace gl3 {

/// Sections in the order of the report.
using InfoJson = nlohmann::ordered_json;

/// The program, where it lies, the module that it finds (or why none).
InfoJson DescribeProgram(const InfoOptions& options);
/// The machine and the process: operating system, processors, memory in bytes, heap, and the
/// environment variables that change what is drawn with what.
InfoJson DescribeSystem();
/// Where the settings are kept and whether they can be changed, and those in force.
InfoJson DescribeSettings();

/// Opens display and module, and tells a JSON object for each thing that is found: "at", what is
/// begun; "display", "opengl", "limits", "driver", "milliseconds"; "problem", why it cannot go on;
/// with `all` also "extendedReport" and "extensions". For a child process.
void TellDevice(const InfoOptions& options, bool all, const Tell& tell);

/// The sections as text, without the long ones.
std::string FormatInfo(const InfoJson& report);
/// Any of it as JSON text. Bytes that are not UTF-8 become replacement characters.
std::string DumpInfo(const InfoJson& report, int indent = 2);

}  // namespace gl3
