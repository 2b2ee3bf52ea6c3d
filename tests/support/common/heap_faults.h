// Heaps that run out of memory on demand: they stand before the host's in the test program.
#pragma once

/// While it lives, the Ext and String heaps give `successes` blocks and no more; with `pixelsOnce`
/// the Ext heap alone, which holds pixels, refuses one block and then gives more.
class HeapFault {
 public:
  explicit HeapFault(int successes, bool pixelsOnce = false) {
    left = successes;
    isOnce = pixelsOnce;
  }
  ~HeapFault() { left = -1; }
  HeapFault(const HeapFault&) = delete;
  HeapFault& operator=(const HeapFault&) = delete;

  static inline int left = -1;  // below 0: no limit
  static inline bool isOnce = false;
};
