// Errors of the GL by name: told by the GL itself where it has KHR_debug, else asked for.
#pragma once

#include <string>
#include <vector>

namespace hostkit::checking {

/// Sees to it that the GL tells the errors of the context that is current, or asks for them where
/// it does not, and returns what it has told since the last call, on this thread. `fresh`: the
/// context may be a new one at an old address. `mayAsk`: no block is open, in which the GL refuses
/// to be asked.
std::vector<std::string> TakeGlErrors(bool fresh, bool mayAsk);

/// Whether the GL has a capability switched on; true without a context.
bool IsGlEnabled(unsigned capability);

/// A number of the GL's, `fallback` without a context.
int GlInteger(unsigned name, int fallback);

}  // namespace hostkit::checking
