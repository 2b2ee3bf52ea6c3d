// Memory of the transparent-polygon queues: taken, kept spare, given back.
#include "buffer/TransparentQueueMemory.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "host/Heaps.h"

namespace transparent_queue_memory {
namespace {

struct Spare {
  TransparentRecord* queue;
  std::size_t records;
};

int takenQueues = 0;
std::vector<Spare> spares;

}  // namespace

TransparentRecord* Take(std::size_t records) {
  const std::size_t bytes = records * sizeof(TransparentRecord);
  const auto spare = std::find_if(spares.begin(), spares.end(),
                                  [&](const Spare& s) { return s.records == records; });
  TransparentRecord* queue = nullptr;
  if (spare != spares.end()) {
    queue = spare->queue;
    spares.erase(spare);
    std::memset(static_cast<void*>(queue), 0, bytes);
  } else {
    queue = static_cast<TransparentRecord*>(AllocOGL(bytes));
  }
  if (queue) ++takenQueues;
  return queue;
}

void GiveBack(TransparentRecord* queue, std::size_t records) {
  if (--takenQueues > 0) {
    spares.push_back({queue, records});
    return;
  }
  spares.clear();
  FreeOGL();
}

}  // namespace transparent_queue_memory
