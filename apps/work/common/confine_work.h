// What processes give up that draw what strangers made, or read it.
#pragma once

#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/base/supervised_child.h"
#include "apps/options/run_options.h"

namespace gl3 {

/// The files of a run. Outputs as OutputPattern takes them; empty ones count for nothing.
struct WorkFiles {
  std::vector<std::string> inputs, outputs;
};

/// Confines this process, before it has threads or OpenGL, to what drawing needs: it starts no
/// programs, opens no connections but one to an X server where GL3_PLATFORM asks for that, and
/// writes the outputs, the driver's caches and devices alone. It may read what its
/// user may, since drivers are found in many places. With `mustBe` it reads the inputs, the module
/// `module` (empty: where it is looked for), what belongs to the system and to this program, and
/// nothing else, and fails where the kernel lacks what that takes.
Outcome ConfineDrawing(const WorkFiles& files, const std::string& module, bool mustBe);

/// Confines this process, before it has threads, to reading the inputs, writing the outputs and
/// its line, and nothing else: it starts no programs, opens no connections, and has no other
/// descriptors but `keep`, which may be -1. Files grow to the run's limit of memory at most. It
/// fails where the kernel lacks what that takes and the run is to be confined.
Outcome ConfineToFiles(const WorkFiles& files, const RunOptions& run, const ParentLine& line,
                       int keep = -1);

}  // namespace gl3
