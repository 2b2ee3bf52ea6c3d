// Memory of the transparent-polygon queues.
#pragma once

#include <cstddef>

#include "buffer/TransparentRecord.h"

/// The host's FreeOGL releases every queue at once, while each buffer may have one. So a queue that
/// is given back while others live is kept for the next taker, and FreeOGL is called when the last
/// one comes back.
namespace transparent_queue_memory {

/// Zero-filled room for `records`, or null when the host has none.
TransparentRecord* Take(std::size_t records);

/// Gives back what Take returned for `records`.
void GiveBack(TransparentRecord* queue, std::size_t records);

}  // namespace transparent_queue_memory
