// The host's heaps from the inside: how many blocks live, and what is left to find when a test
// ends. Large blocks of the OGL heap and of pictures are the system's own, all others malloc's.
#pragma once

#include <cstddef>
#include <string>

namespace hostkit {

/// What one heap holds.
struct HeapCount {
  long blocks = 0;        ///< That live.
  std::size_t bytes = 0;  ///< Usable size of those blocks.
};

/// The four heaps of host/Heaps.h.
struct HeapCounts {
  /// What each of them holds.
  HeapCount gassist, ogl, ext, string;
};

/// Live blocks of the four heaps, as far as they are the host kit's: of one that the program has
/// replaced nothing is counted. Callable from any thread.
HeapCounts CountHeaps();

}  // namespace hostkit
