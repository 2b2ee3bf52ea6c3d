// The verbs of the program. A verb is a row of the table in main.cpp with a function that adds its
// options to the parser.
#pragma once

#include <functional>
#include <string>

#include "apps/options/option_parser.h"

namespace gl3 {

/// The job that a parsed command line asks for; `command` is that line, quoted for a shell. Returns
/// the exit status.
using VerbJob = std::function<int(const std::string& command)>;

struct Verb {
  const char* name;
  const char* summary;
  /// Adds options to `parser`. Nothing runs and nothing is loaded yet: this is called for every
  /// verb at every start.
  VerbJob (*add)(const OptionParser& parser);
};

VerbJob AddFilterVerb(const OptionParser& parser);
VerbJob AddInfoVerb(const OptionParser& parser);
VerbJob AddRenderVerb(const OptionParser& parser);
VerbJob AddSettingsVerb(const OptionParser& parser);
VerbJob AddViewVerb(const OptionParser& parser);

}  // namespace gl3
