// What the bitmaps need of the Ext heap beyond AllocExt. Private to the services.
#pragma once

#include <cstddef>

namespace hostkit {

/// As AllocExt, bytes of any value included, for a picture's storage. Large blocks come straight
/// from the system and cost nothing until they are filled, or are one that was just released, with
/// what it held. Released with FreeExt.
void* AllocExtPicture(std::size_t size);

}  // namespace hostkit
