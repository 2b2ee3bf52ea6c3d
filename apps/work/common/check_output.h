// The check of an output file that needs to know how pictures are written.
#pragma once

#include <string>

#include "apps/base/messages.h"

namespace gl3 {

/// Whether a picture can be written: a known suffix (else kWrongUsage), a folder that exists and
/// may be written to, nothing in the way (else kUnwritableOutput).
Outcome CheckOutput(const std::string& path);

/// Whether a stream can hold pictures of this kind; kWrongUsage with a message when it cannot.
Outcome CheckStream(const std::string& kind);

/// Whether a report can be written to a file that is asked for: kUnwritableOutput with a message
/// when it cannot.
Outcome CheckReport(const std::string& path);

/// Writes a report: whole or not at all, but for pipes and such. On failure as CheckReport.
Outcome WriteReport(const std::string& path, const std::string& text);

}  // namespace gl3
