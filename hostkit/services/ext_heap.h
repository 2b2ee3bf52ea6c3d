// What the bitmaps need of the Ext heap beyond AllocExt. Private to the services.
#pragma once

#include <cstddef>

namespace hostkit {

/// As AllocExt, with every byte zero. Large blocks come fresh from the system and are not written
/// to, so that a picture's storage costs nothing until it is filled. Released with FreeExt.
void* AllocExtZeroed(std::size_t size);

}  // namespace hostkit
