// What processes give up that draw what strangers made, or read it.
#pragma once

#include <string>
#include <vector>

#include "apps/base/messages.h"

namespace gl3 {

/// Confines this process, before it has threads or OpenGL, to what drawing needs: it starts no
/// programs, opens no connections but one to an X server where GL3_PLATFORM asks for that, and
/// writes `outputs` (see OutputPattern; empty ones count for nothing), the settings, the driver's
/// caches and devices alone. It may read what its user may: drivers look for much. With `mustBe` it
/// fails where the kernel lacks what it takes; else what can be had is taken.
Outcome ConfineDrawing(const std::vector<std::string>& outputs, bool mustBe);

/// Confines this process to reading one file.
Outcome ConfineReading(const std::string& file, bool mustBe);

}  // namespace gl3
