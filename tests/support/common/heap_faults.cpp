// Heaps that run out of memory on demand.
#include "tests/support/common/heap_faults.h"

#include <dlfcn.h>

#include <cstddef>

#include "host/Heaps.h"
#include "hostkit/services/ext_heap.h"

namespace {

/// Whether a request is to fail; counts it.
bool Fails() {
  const bool fails = HeapFault::left == 0;
  if (HeapFault::left > 0 || (fails && HeapFault::isOnce)) --HeapFault::left;
  return fails;
}

void* Forward(const char* symbol, std::size_t size) {
  using Alloc = void* (*)(std::size_t);
  return reinterpret_cast<Alloc>(dlsym(RTLD_NEXT, symbol))(size);
}

}  // namespace

void* AllocString(std::size_t size) {
  return !HeapFault::isOnce && Fails() ? nullptr : Forward("_Z11AllocStringm", size);
}
void* AllocExt(std::size_t size) {
  return Fails() ? nullptr : Forward("_Z8AllocExtm", size);
}
void* hostkit::AllocExtPicture(std::size_t size) {
  return Fails() ? nullptr : Forward("_ZN7hostkit15AllocExtPictureEm", size);
}

// The address sanitizer ends the program over a request that malloc only refuses.
extern "C" const char* __asan_default_options() {
  return "allocator_may_return_null=1";
}
