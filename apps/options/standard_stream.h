// Standard input and output among files.
#pragma once

#include <string>

#include "apps/base/messages.h"
#include "apps/options/option_parser.h"
#include "apps/options/run_options.h"

namespace gl3 {

/// What stands for standard input among models and pictures, and for standard output.
inline constexpr const char* kStandardStream = "-";

/// Adds --format, the kind of the pictures that go to standard output.
void AddStreamFormatOption(const OptionParser& parser, std::string* format);

/// Whether what else is asked for goes with `output`: --format is about standard output, where
/// nothing is there before, and which no report may share. kWrongUsage with a message, or kDone.
Outcome CheckStreamOptions(const std::string& output, const std::string& format, bool skipExisting,
                           const RunOptions& run);

/// Adds --model-format, the kind of the model that comes from standard input.
void AddModelFormatOption(const OptionParser& parser, std::string* format);

}  // namespace gl3
