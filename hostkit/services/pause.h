// Long work that gives way to what else its thread has to do.
#pragma once

#include <functional>

namespace hostkit {

/// Called between pieces of long work, of some milliseconds each. It may take its time; what the
/// work draws with must be then as it was. False: nobody wants the work any more, and it ends soon
/// without a result. May be empty.
using Pause = std::function<bool()>;

/// Whether the work is wanted still.
inline bool GoesOn(const Pause& pause) {
  return !pause || pause();
}

}  // namespace hostkit
