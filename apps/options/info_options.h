// What `gl3 info` is asked for.
#pragma once

#include "apps/options/run_options.h"

namespace CLI {
class App;
}

namespace gl3 {

enum class InfoKind { kSummary, kExtended, kExtensions, kCheck };

struct InfoOptions {
  RunOptions run;
  InfoKind kind = InfoKind::kSummary;
  bool allDevices = false;
};

/// Adds the options to `app`; parsing fills `*options`, which must live until then.
void AddInfoOptions(CLI::App& app, InfoOptions* options);

}  // namespace gl3
