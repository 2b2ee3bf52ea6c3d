// What `gl3 farm` can be told, and reading it from the command line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/options/option_parser.h"

namespace gl3 {

struct FarmOptions {
  /// A verb of the farm (status, wait, cancel, or one that it calls itself with) and what it is
  /// about; or the command line to share, from `render` or `filter` on.
  std::vector<std::string> words;
  int tasks = 0;    ///< At a time; 0: as many as the scheduler, or this machine, has room for.
  int perNode = 0;  ///< Of them on one node; 0: one a processor.
  double startSeconds = 0;   ///< Until the first picture is begun; with `frameSeconds`.
  double frameSeconds = 0;   ///< A picture takes; 0: to be measured.
  int retries = 2;           ///< Rounds for what is missing after the first one.
  int minutes = 0;           ///< Time limit of a task; 0: by what was measured.
  std::uint64_t memory = 0;  ///< Of a task, bytes; 0: by what was measured.
  std::string folder;        ///< Of the job; empty: a new one beside the pictures.
  std::vector<std::string> submitOptions;  ///< For the scheduler, as they are.
  bool local = false;                      ///< On this machine, without a scheduler.
  bool dryRun = false;
  bool allowMixed = false;  ///< Pictures of different renderers.
  bool json = false;
  Verbosity verbosity = Verbosity::kNormal;
};

/// Adds the options to `parser`; parsing fills `*options`, which must live until then.
void AddFarmOptions(const OptionParser& parser, FarmOptions* options);

}  // namespace gl3
