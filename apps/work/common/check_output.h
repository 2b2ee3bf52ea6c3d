// The check of an output file that needs to know how pictures are written.
#pragma once

#include <string>

#include "apps/base/messages.h"

namespace gl3 {

/// Whether a picture can be written: a known suffix (else kWrongUsage), a folder that exists and
/// may be written to, nothing in the way (else kUnwritableOutput).
Outcome CheckOutput(const std::string& path);

}  // namespace gl3
