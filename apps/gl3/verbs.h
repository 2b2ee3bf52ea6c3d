// The verbs of the program. A verb is a row of the table in main.cpp with a function that adds its
// options to the parser.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "apps/options/option_parser.h"

namespace gl3 {

/// The job that a parsed command line asks for; `words` are that line, program and verb first.
/// Returns the exit status.
using VerbJob = std::function<int(const std::vector<std::string>& words)>;

struct Verb {
  const char* name;
  const char* summary;
  /// Adds options to `parser`. Nothing runs and nothing is loaded yet: this is called for every
  /// verb at every start.
  VerbJob (*add)(const OptionParser& parser);
};

VerbJob AddFarmVerb(const OptionParser& parser);
VerbJob AddFilterVerb(const OptionParser& parser);
VerbJob AddInfoVerb(const OptionParser& parser);
VerbJob AddRenderVerb(const OptionParser& parser);
VerbJob AddSettingsVerb(const OptionParser& parser);
VerbJob AddViewVerb(const OptionParser& parser);

}  // namespace gl3
