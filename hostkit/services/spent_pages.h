// Memory whose content is not needed any more.
#pragma once

namespace hostkit {

/// Gives the whole huge pages between two places of an allocated block back to the system, which
/// hands over new ones when they are written to again. What they held is lost.
void GiveBackPages(void* begin, void* end);

}  // namespace hostkit
