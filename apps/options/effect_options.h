// Effects on the command line: "NAME[:key=value,...]", one after another.
#pragma once

#include <string>
#include <vector>

#include "apps/options/option_parser.h"
#include "hostkit/effects/effect_table.h"

namespace gl3 {

struct EffectOptions {
  std::vector<hostkit::EffectCall> calls;  ///< In the order to be applied.
};

/// Adds --effect to `parser`, which may be given more than once; parsing fills `*options`, which
/// must live until then.
Option AddEffectOptions(const OptionParser& parser, EffectOptions* options);

/// Reads one effect. On failure returns false and says why, with the nearest name or the range.
bool ParseEffect(const std::string& text, hostkit::EffectCall* call, std::string* error);

/// An effect with all its parameters, as it could be given: "blur:radius=10,passes=1".
std::string DescribeEffect(const hostkit::EffectCall& call);

/// The effects with their parameters and ranges, lines for a help text.
std::string EffectHelp();

}  // namespace gl3
