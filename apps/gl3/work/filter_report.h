// The figures of `gl3 filter`, for `--json` and `--verify`.
#pragma once

#include <string>
#include <vector>

#include "hostkit/effects/effect_chain.h"

namespace gl3 {

/// One picture. `milliseconds` are of its own; an error leaves the rest as far as it came.
struct FilteredPicture {
  std::string input, output;
  int width = 0, height = 0;
  int status = 0;
  std::string error;
  double read = 0, effects = 0, write = 0;
  std::vector<hostkit::EffectStep> steps;  ///< As many as there are effects, or none.
};

struct FilterReport {
  std::vector<hostkit::EffectCall> calls;
  bool verified = false;
  std::string renderer;  ///< GL_RENDERER and GL_VERSION.
  std::string platform, device;
  bool software = false;
  int threads = 1;              ///< Of merging.
  double start = 0, total = 0;  ///< Milliseconds; `start` is display, module and driver.
  int skipped = 0;              ///< Pictures that were there.
  std::vector<FilteredPicture> pictures;
  std::vector<std::string> warnings;
};

/// The report as a JSON object on several lines, with the peak memory of this process (bytes).
std::string FormatFilterReport(const FilterReport& report);

/// A line for each picture and effect with its largest difference and what is allowed.
std::string FormatDifferences(const FilterReport& report);

}  // namespace gl3
