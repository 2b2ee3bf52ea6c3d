// Work that several threads share.
#include "hostkit/services/share_work.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <thread>
#include <vector>

namespace hostkit {
namespace {

constexpr std::size_t kMostThreads = 16;

}  // namespace

void ShareWork(std::size_t count, std::size_t most,
               const std::function<void(std::size_t number)>& work) {
  const std::size_t processors = std::max(std::thread::hardware_concurrency(), 1u);
  const std::size_t threads = std::min({processors, kMostThreads, most, count});
  std::atomic<std::size_t> next = 0;
  const auto run = [&] {
    for (std::size_t i = next++; i < count; i = next++) work(i);
  };
  std::vector<std::thread> others;
  others.reserve(threads);
  try {
    while (others.size() + 1 < threads) others.emplace_back(run);
  } catch (const std::exception&) {
    // The system has no more threads: those that there are do all of it.
  }
  run();
  for (std::thread& other : others) other.join();
}

void ShareRanges(std::size_t count, std::size_t each,
                 const std::function<void(std::size_t begin, std::size_t end)>& work) {
  ShareWork((count + each - 1) / each, kMostThreads,
            [&](std::size_t i) { work(i * each, std::min((i + 1) * each, count)); });
}

}  // namespace hostkit
