// Which block of the host's heaps an address lies in.
#include "tests/support/heap_blocks.h"

#include <fmt/format.h>

#include <map>
#include <mutex>

namespace {

/// Where blocks begin and how many bytes they have.
struct Blocks {
  std::mutex mutex;
  std::map<const char*, std::size_t> sizes;
};

Blocks& State() {
  static auto* const blocks = new Blocks;  // heaps are used until the process ends
  return *blocks;
}

}  // namespace

void NoteBlock(const void* block, std::size_t bytes) {
  if (!block) return;
  const std::lock_guard lock(State().mutex);
  State().sizes[static_cast<const char*>(block)] = bytes;
}

void ForgetBlock(const void* block) {
  const std::lock_guard lock(State().mutex);
  State().sizes.erase(static_cast<const char*>(block));
}

std::string PlaceInBlock(const void* address) {
  const auto* place = static_cast<const char*>(address);
  const std::lock_guard lock(State().mutex);
  auto block = State().sizes.upper_bound(place);
  if (block == State().sizes.begin()) return "pointer";
  --block;
  const auto offset = static_cast<std::size_t>(place - block->first);
  return offset < block->second ? fmt::format("+{} of {}", offset, block->second) : "pointer";
}
