// Standard input and output among files: their options.
#include "apps/options/standard_stream.h"

namespace gl3 {

void AddStreamFormatOption(const OptionParser& parser, std::string* format) {
  parser.AddText("--format", "KIND",
                 "Of the pictures for -o -, standard output: a suffix such as png\n"
                 "(default) or ppm, or rgb24 or rgba, which are rows of bytes alone",
                 format);
}

Outcome CheckStreamOptions(const std::string& output, const std::string& format, bool skipExisting,
                           const RunOptions& run) {
  if (output != kStandardStream) {
    if (format.empty()) return {};
    return {kWrongUsage, "--format: it is about standard output; give -o -, or leave it out"};
  }
  if (skipExisting) {
    return {kWrongUsage,
            "--skip-existing: on standard output nothing is there before; leave it out"};
  }
  if (!run.json || (!run.jsonFile.empty() && run.jsonFile != kStandardStream)) return {};
  return {kWrongUsage,
          "--json: standard output carries the pictures; give --json=FILE, or /dev/fd/3 for a "
          "descriptor"};
}

void AddModelFormatOption(const OptionParser& parser, std::string* format) {
  parser.AddText("--model-format", "KIND",
                 "What the MODEL -, standard input, is: a suffix such as glb", format);
}

}  // namespace gl3
