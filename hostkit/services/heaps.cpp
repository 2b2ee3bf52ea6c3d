// The host's four heaps, with a count of what lives. Blocks are malloc's, but for large ones of the
// OGL heap and of pictures: those come straight from the system.
#include "host/Heaps.h"

#include <malloc.h>
#include <sys/mman.h>

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

/// Whether malloc may be asked for `size`. More than PTRDIFF_MAX is never to be had, and the
/// address sanitizer's ends the process when asked.
bool MayAsk(std::size_t size) {
  return size <= static_cast<std::size_t>(PTRDIFF_MAX);
}

void* Alloc(Counter& counter, std::size_t size) {
  if (!MayAsk(size)) return nullptr;
  void* block = std::malloc(size);
  if (block) counter.Add(malloc_usable_size(block));
  return block;
}

void Free(Counter& counter, void* block) {
  if (!block) return;
  counter.Remove(malloc_usable_size(block));
  std::free(block);
}

// From this size on it is the system's handing over of pages that costs, not the heap's work.
constexpr std::size_t kLarge = std::size_t{1} << 22;
constexpr std::uintptr_t kHugePage = std::uintptr_t{1} << 21;

constexpr std::uintptr_t RoundUp(std::uintptr_t value) {
  return (value + kHugePage - 1) & ~(kHugePage - 1);
}

/// Asks the system for huge pages where a large block covers them whole. A picture's storage is
/// written from end to end, and page by page the handing over takes longer than the writing.
void AdviseHugePages(void* block, std::size_t size) {
  if (size < kLarge) return;
  const auto start = reinterpret_cast<std::uintptr_t>(block);
  const std::uintptr_t first = RoundUp(start);
  const std::uintptr_t end = (start + size) & ~(kHugePage - 1);
  madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);  // may be refused
}

/// Zero-filled memory straight from the system, whole huge pages of it; null when there is none.
void* MapHugePages(std::size_t size) {
  // Mappings start at any page: a larger one is cut to what lies at the boundaries.
  const std::size_t reserved = size + kHugePage;
  void* memory =
      mmap(nullptr, reserved, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) return nullptr;
  const auto start = reinterpret_cast<std::uintptr_t>(memory);
  const std::uintptr_t first = RoundUp(start);
  void* block = reinterpret_cast<void*>(first);
  void* behind = reinterpret_cast<void*>(first + size);
  if (first > start) munmap(memory, first - start);
  if (first + size < start + reserved) munmap(behind, start + reserved - (first + size));
  AdviseHugePages(block, size);
  return block;
}

/// What stands before each block of the OGL and Ext heaps.
struct alignas(alignof(std::max_align_t)) Header {
  Header* next;        // OGL alone: the block that was handed out before
  std::size_t mapped;  // bytes of the block's own mapping, 0 when it is from malloc

  std::size_t Bytes() { return (mapped ? mapped : malloc_usable_size(this)) - sizeof(Header); }
  void* Block() { return this + 1; }
  static Header* Of(void* block) { return static_cast<Header*>(block) - 1; }
};

bool MayAskWithHeader(std::size_t size) {
  return MayAsk(size) && MayAsk(size + sizeof(Header));
}

/// The chain that FreeOGL walks. Blocks are only ever pushed, or taken off all at once, so a push
/// needs one compare-and-swap and no lock.
constinit std::atomic<Header*> oglHead{nullptr};

/// A header with `size` zero bytes behind it. Large blocks come straight from the system, zero
/// without being written to, so that they cost what is used of them; calloc may clear them again.
Header* NewZeroed(std::size_t size) {
  if (!MayAskWithHeader(size)) return nullptr;
  size += sizeof(Header);
  if (size < kLarge) return static_cast<Header*>(std::calloc(1, size));
  const std::size_t mapped = RoundUp(size);
  auto* header = static_cast<Header*>(MapHugePages(mapped));
  if (header) header->mapped = mapped;
  return header;
}

/// The same for AllocExt, with bytes of any value.
Header* New(std::size_t size) {
  if (!MayAskWithHeader(size)) return nullptr;
  auto* header = static_cast<Header*>(std::malloc(size + sizeof(Header)));
  if (!header) return nullptr;
  AdviseHugePages(header, size);
  header->mapped = 0;
  return header;
}

// The mapping of the Ext heap that was released last, for the next picture of about its size: at
// most twice what is asked for, as when four bytes a pixel follow three. Clearing new pages for a
// frame of 3840 x 2160 takes the system a third as long as FillBitmapNode takes in all.
constinit std::atomic<Header*> spare{nullptr};
constexpr std::size_t kMostSpare = std::size_t{1} << 27;  // a larger one is given back

void Unmap(Header* header) {
  if (header) munmap(header, header->mapped);
}

void Delete(Header* header) {
  if (header->mapped) {
    Unmap(header);
  } else {
    std::free(header);
  }
}

/// As New, but large blocks have a mapping of their own.
Header* NewMapped(std::size_t size) {
  if (!MayAskWithHeader(size)) return nullptr;
  if (size + sizeof(Header) < kLarge) return New(size);
  const std::size_t wanted = RoundUp(size + sizeof(Header));
  Header* kept = spare.exchange(nullptr);
  if (kept && kept->mapped >= wanted && kept->mapped / 2 <= wanted) return kept;
  Unmap(kept);
  return NewZeroed(size);
}

/// Counts a block of the Ext heap, which may be null.
void* HandOutExt(Header* header) {
  if (!header) return nullptr;
  ext.Add(header->Bytes());
  return header->Block();
}

}  // namespace

void* AllocGAssist(std::size_t size) {
  return Alloc(gassist, size);
}
void FreeGAssist(void* block) {
  Free(gassist, block);
}

void* AllocOGL(std::size_t size) {
  Header* header = NewZeroed(size);
  if (!header) return nullptr;
  ogl.Add(header->Bytes());
  header->next = oglHead.load(std::memory_order_relaxed);
  while (!oglHead.compare_exchange_weak(header->next, header, std::memory_order_release,
                                        std::memory_order_relaxed)) {
  }
  return header->Block();
}

void FreeOGL() {
  Header* header = oglHead.exchange(nullptr, std::memory_order_acquire);
  while (header) {
    Header* next = header->next;
    ogl.Remove(header->Bytes());
    Delete(header);
    header = next;
  }
}

void* AllocExt(std::size_t size) {
  return HandOutExt(New(size));
}
void FreeExt(void* block) {
  if (!block) return;
  Header* header = Header::Of(block);
  ext.Remove(header->Bytes());
  if (header->mapped && header->mapped <= kMostSpare) header = spare.exchange(header);
  if (header) Delete(header);
}

void* AllocString(std::size_t size) {
  return Alloc(string, size);
}
void FreeString(void* block) {
  Free(string, block);
}

namespace hostkit {

void* AllocExtPicture(std::size_t size) {
  return HandOutExt(NewMapped(size));
}

HeapCounts CountHeaps() {
  return {gassist.Read(), ogl.Read(), ext.Read(), string.Read()};
}

}  // namespace hostkit
