// What `gl3 info` is asked for.
#pragma once

#include "apps/options/option_parser.h"
#include "apps/options/run_options.h"

namespace gl3 {

enum class InfoKind { kSummary, kExtended, kExtensions, kCheck };

struct InfoOptions {
  RunOptions run;
  InfoKind kind = InfoKind::kSummary;
  bool allDevices = false;
};

/// Adds the options to `parser`; parsing fills `*options`, which must live until then.
void AddInfoOptions(const OptionParser& parser, InfoOptions* options);

}  // namespace gl3
