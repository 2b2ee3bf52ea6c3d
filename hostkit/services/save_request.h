// Who answers when the module asks for a file to save to.
#pragma once

#include <functional>

#include "host/String.h"

namespace hostkit {

/// Shows the user the title, the proposed name and the kind of file. Returns 1 and the chosen path
/// in `*path` (never null), or 0 when the user cancels.
using SaveRequestHandler = std::function<int(const String& title, const String& suggestion,
                                             const String& filter, String* path)>;

/// Sets what SaveRequest calls; an empty handler takes it away, and then every request counts as
/// cancelled, as at the start. Call on the thread that draws.
void SetSaveRequestHandler(SaveRequestHandler handler);

}  // namespace hostkit
