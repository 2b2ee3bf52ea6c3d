// The figures of a run, for `--json`.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "apps/work/common/report_json.h"

namespace gl3 {

/// Figures of one picture of a sequence. Milliseconds; `total` is all from posing to the finished
/// file.
struct ShotReport {
  int frame = 1;
  double time = 0;     ///< Seconds into the animation.
  std::string camera;  ///< Empty for none of the model's.
  std::string output;
  double draw = 0, readBack = 0, effects = 0, write = 0, total = 0;
};

struct RenderReport {
  std::vector<std::string> models;
  std::string output;
  int width = 0, height = 0;
  std::size_t triangles = 0;
  std::string renderer;  ///< GL_RENDERER and GL_VERSION.
  std::string platform, device;
  bool software = false;
  /// Milliseconds. `start` is display, module and driver; `total` the whole run in the child.
  /// Milliseconds. Of the import, what was waited for beyond the start of OpenGL.
  double start = 0, import = 0, upload = 0, draw = 0, readBack = 0, effects = 0, write = 0;
  double total = 0;
  std::vector<std::string> warnings;

  /// Of a sequence, or of several cameras; then draw, readBack, effects and write above are their
  /// sums.
  bool isSequence = false;
  std::vector<ShotReport> shots;  ///< That were drawn.
  std::size_t skipped = 0;        ///< That were there before.
};

/// The report as a JSON object, with the peak memory of this process (bytes) as it is now.
Json ReportJson(const RenderReport& report);

/// The same on several lines. Text that is not UTF-8 gets replacement characters.
std::string FormatReport(const RenderReport& report);

}  // namespace gl3
