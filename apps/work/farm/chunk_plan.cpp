// How pictures are shared among tasks, and what a task may take.
#include "apps/work/farm/chunk_plan.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <queue>
#include <utility>

namespace gl3 {
namespace {

constexpr double kStartShare = 0.1;
constexpr double kMostRounds = 4;
constexpr double kTimeReserve = 4, kLeastMinutes = 5, kMostMinutes = 365.0 * 24 * 60;
constexpr std::uint64_t kMemoryReserve = 2, kLeastMegabytes = 512;

std::size_t CountChunks(std::size_t pictures, double seconds, const ShareWish& wish) {
  double count = static_cast<double>(std::min(pictures, wish.mostChunks));
  const double tasks = wish.tasks;
  if (wish.leastTaskSeconds > 0) {
    count = std::min(count, std::max(tasks, seconds / wish.leastTaskSeconds));
  }
  // start / (start + work) <= share
  if (wish.startSeconds > 0) {
    const double leastWork = wish.startSeconds * (1 / kStartShare - 1);
    count = std::min(count, seconds / leastWork);
  }
  if (tasks > 0) count = std::min(count, tasks * kMostRounds);
  // The last round is as full as the others. Sums of seconds may lack a bit of a whole number.
  auto whole = static_cast<std::size_t>(std::max(count + 1e-9, 1.0));
  const auto round = static_cast<std::size_t>(wish.tasks);
  if (round > 0 && whole > round) whole -= whole % round;
  return whole;
}

/// Indices, those of the greatest values first, else in their order.
std::vector<std::size_t> GreatestFirst(const std::vector<double>& values) {
  std::vector<std::size_t> order(values.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return values[a] > values[b]; });
  return order;
}

}  // namespace

std::vector<PictureChunk> SharePictures(const std::vector<double>& seconds, const ShareWish& wish) {
  if (seconds.empty()) return {};
  const double total = std::accumulate(seconds.begin(), seconds.end(), 0.0);
  std::vector<PictureChunk> chunks(CountChunks(seconds.size(), total, wish));
  using Load = std::pair<double, std::size_t>;  // seconds, chunk
  std::priority_queue<Load, std::vector<Load>, std::greater<>> loads;
  for (std::size_t i = 0; i < chunks.size(); ++i) loads.emplace(0, i);
  std::vector<double> work(chunks.size());
  for (const std::size_t picture : GreatestFirst(seconds)) {
    const std::size_t chunk = loads.top().second;
    loads.pop();
    chunks[chunk].push_back(picture);
    work[chunk] += seconds[picture];
    loads.emplace(work[chunk], chunk);
  }
  std::vector<PictureChunk> sorted;
  for (const std::size_t chunk : GreatestFirst(work)) {
    if (!chunks[chunk].empty()) sorted.push_back(std::move(chunks[chunk]));
  }
  return sorted;
}

double ChunkSeconds(const PictureChunk& chunk, const std::vector<double>& seconds) {
  return std::accumulate(chunk.begin(), chunk.end(), 0.0,
                         [&](double sum, std::size_t picture) { return sum + seconds[picture]; });
}

std::vector<double> SecondsBySize(const std::vector<std::uint64_t>& sizes, double middleSeconds) {
  if (sizes.empty()) return {};
  const double middle = std::max<double>(static_cast<double>(sizes[MiddleSize(sizes)]), 1);
  std::vector<double> seconds;
  seconds.reserve(sizes.size());
  for (const std::uint64_t size : sizes) {
    seconds.push_back(middleSeconds * (0.5 + 0.5 * static_cast<double>(size) / middle));
  }
  return seconds;
}

std::size_t MiddleSize(const std::vector<std::uint64_t>& sizes) {
  std::vector<std::size_t> order(sizes.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return sizes[a] < sizes[b]; });
  return order.empty() ? 0 : order[order.size() / 2];
}

TaskLimits LimitsOfTask(double seconds, std::uint64_t peakMemory) {
  TaskLimits limits;
  const double minutes = std::ceil(seconds * kTimeReserve / 60) + kLeastMinutes;
  limits.minutes = static_cast<int>(std::min(minutes, kMostMinutes));
  limits.megabytes = (peakMemory * kMemoryReserve >> 20) + kLeastMegabytes;
  return limits;
}

}  // namespace gl3
