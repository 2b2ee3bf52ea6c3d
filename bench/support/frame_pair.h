// The same frame twice: by bare OpenGL and through the module.
#pragma once

#include <functional>

#include "bench/support/bare_surface.h"
#include "bench/support/harness.h"
#include "bench/support/host_module.h"

namespace bench {

/// How a frame is drawn on each side; clearing and waiting for its end are taken care of.
struct FramePair {
  BareSurface& bare;
  HostSurface& host;
  std::function<void()> drawBare;  ///< Without lighting, unless it enables it.
  std::function<void(GABuffer& buffer, DisplayList& list)> drawThroughModule;
  bool isSlow = false;  ///< Takes a tenth of a second or more: three rounds when quick.
};

/// Measures from the clear to the last pixel, compares the pictures and fills in the figures of
/// `row`, whose name, size and target the caller has set. Leaves the bare context current.
void MeasureFrames(const FramePair& frames, Row row, const Options& options, Report& report);

}  // namespace bench
