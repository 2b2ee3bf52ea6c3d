// What `gl3 info` is asked for.
#pragma once

#include <string>
#include <vector>

#include "apps/options/option_parser.h"
#include "apps/options/run_options.h"

namespace gl3 {

enum class InfoKind { kSummary, kExtended, kExtensions, kCheck, kCompare };

struct InfoOptions {
  RunOptions run;
  InfoKind kind = InfoKind::kSummary;
  bool allDevices = false;
  std::string compareFolder;                ///< Where kCompare leaves what it drew,
  std::vector<std::string> compareDrivers;  ///< and with which; empty: all that there are.
};

/// Adds the options to `parser`; parsing fills `*options`, which must live until then.
void AddInfoOptions(const OptionParser& parser, InfoOptions* options);

}  // namespace gl3
