// The options of every verb that works: device and module, limits, what is told.
#pragma once

#include <string>

#include "apps/base/messages.h"
#include "apps/base/supervised_child.h"
#include "apps/options/option_parser.h"

namespace gl3 {

struct RunOptions {
  std::string device;  ///< As GL3_DEVICE; empty leaves the environment's.
  std::string module;  ///< The module's file; empty: looked for.
  Limits limits;
  bool json = false;
  std::string jsonFile;   ///< Where the figures go; empty: to standard output.
  bool confined = false;  ///< Models reach their own folders alone, or nothing is read.
  Verbosity verbosity = Verbosity::kNormal;
};

/// Adds the options to `parser`; parsing fills `*options`, which must live until then.
void AddRunOptions(const OptionParser& parser, RunOptions* options);

/// Adds --confined, which is among them, alone. GL3_CONFINED sets it at once, for good.
void AddConfinedOption(const OptionParser& parser, RunOptions* options);

}  // namespace gl3
