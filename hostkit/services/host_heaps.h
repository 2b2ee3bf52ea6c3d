// The host's heaps from the inside: how many blocks live, and what is left to find when a test
// ends. Large blocks of the OGL heap and of pictures are the system's own, all others malloc's.
#pragma once

#include <cstddef>

namespace hostkit {

/// What one heap holds.
struct HeapCount {
  long blocks = 0;
  std::size_t bytes = 0;  ///< Usable size of those blocks.
};

struct HeapCounts {
  HeapCount gassist, ogl, ext, string;
};

/// Live blocks of the four heaps. Callable from any thread.
HeapCounts CountHeaps();

}  // namespace hostkit
