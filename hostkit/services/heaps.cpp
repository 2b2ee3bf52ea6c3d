// The host's four heaps: malloc with a count of what lives.
#include "host/Heaps.h"

#include <malloc.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>

#include "hostkit/services/ext_heap.h"
#include "hostkit/services/host_heaps.h"

namespace {

/// Counts of one heap. Relaxed: they are read for reports, never to order anything by. Each has a
/// cache line of its own, so that heaps used on different threads do not slow each other down.
struct alignas(64) Counter {
  std::atomic<long> blocks{0};
  std::atomic<std::size_t> bytes{0};

  void Add(std::size_t size) {
    blocks.fetch_add(1, std::memory_order_relaxed);
    bytes.fetch_add(size, std::memory_order_relaxed);
  }
  void Remove(std::size_t size) {
    blocks.fetch_sub(1, std::memory_order_relaxed);
    bytes.fetch_sub(size, std::memory_order_relaxed);
  }
  hostkit::HeapCount Read() const {
    return {blocks.load(std::memory_order_relaxed), bytes.load(std::memory_order_relaxed)};
  }
};

// Constant-initialised: the heaps work before and after every other static object.
constinit Counter gassist, ogl, ext, string;

/// Whether malloc may be asked for `size`. More than PTRDIFF_MAX is never to be had, and some
/// allocators abort when asked.
bool IsSane(std::size_t size) {
  return size <= static_cast<std::size_t>(PTRDIFF_MAX);
}

void* Alloc(Counter& counter, std::size_t size) {
  if (!IsSane(size)) return nullptr;
  void* block = std::malloc(size);
  if (block) counter.Add(malloc_usable_size(block));
  return block;
}

void Free(Counter& counter, void* block) {
  if (!block) return;
  counter.Remove(malloc_usable_size(block));
  std::free(block);
}

/// What stands before each block of the OGL heap: the chain that FreeOGL walks. Blocks are only
/// ever pushed, or taken off all at once, so a push needs one compare-and-swap and no lock.
struct alignas(alignof(std::max_align_t)) OglHeader {
  OglHeader* next;
};

constinit std::atomic<OglHeader*> oglHead{nullptr};

}  // namespace

void* AllocGAssist(std::size_t size) {
  return Alloc(gassist, size);
}
void FreeGAssist(void* block) {
  Free(gassist, block);
}

void* AllocOGL(std::size_t size) {
  if (!IsSane(size) || !IsSane(size + sizeof(OglHeader))) return nullptr;
  void* memory = std::calloc(1, size + sizeof(OglHeader));
  if (!memory) return nullptr;
  ogl.Add(malloc_usable_size(memory) - sizeof(OglHeader));
  auto* header = static_cast<OglHeader*>(memory);
  header->next = oglHead.load(std::memory_order_relaxed);
  while (!oglHead.compare_exchange_weak(header->next, header, std::memory_order_release,
                                        std::memory_order_relaxed)) {
  }
  return header + 1;
}

void FreeOGL() {
  OglHeader* header = oglHead.exchange(nullptr, std::memory_order_acquire);
  while (header) {
    OglHeader* next = header->next;
    ogl.Remove(malloc_usable_size(header) - sizeof(OglHeader));
    std::free(header);
    header = next;
  }
}

void* AllocExt(std::size_t size) {
  return Alloc(ext, size);
}
void FreeExt(void* block) {
  Free(ext, block);
}

void* AllocString(std::size_t size) {
  return Alloc(string, size);
}
void FreeString(void* block) {
  Free(string, block);
}

namespace hostkit {

void* AllocExtZeroed(std::size_t size) {
  if (!IsSane(size)) return nullptr;
  void* block = std::calloc(1, size);
  if (block) ext.Add(malloc_usable_size(block));
  return block;
}

HeapCounts CountHeaps() {
  return {gassist.Read(), ogl.Read(), ext.Read(), string.Read()};
}

}  // namespace hostkit
