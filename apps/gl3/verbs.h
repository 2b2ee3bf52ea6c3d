// The verbs of the program. A verb is a row of the table in main.cpp with a function that adds its
// options to the parser.
#pragma once

#include <functional>
#include <string>

namespace CLI {
class App;
}

namespace gl3 {

/// The job that a parsed command line asks for; `command` is that line, quoted for a shell. Returns
/// the exit status.
using VerbJob = std::function<int(const std::string& command)>;

struct Verb {
  const char* name;
  const char* summary;
  /// Adds options to `app`, which outlives the job that comes back. Nothing runs and nothing is
  /// loaded yet: this is called for every verb at every start.
  VerbJob (*add)(CLI::App& app);
};

VerbJob AddFilterVerb(CLI::App& app);
VerbJob AddInfoVerb(CLI::App& app);
VerbJob AddRenderVerb(CLI::App& app);
VerbJob AddSettingsVerb(CLI::App& app);
VerbJob AddViewVerb(CLI::App& app);

}  // namespace gl3
