// How pictures are shared among tasks, and what a task may take.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace gl3 {

/// Seconds from the end of a task to the begin of the next one in its place, measured with 60 tasks
/// that did nothing on two nodes of two processors: part of what starting takes on a scheduler.
constexpr double kSchedulerSeconds = 1.5;

/// What sharing goes by.
struct ShareWish {
  double startSeconds = 0;        ///< A task needs before its first picture; 0: unknown.
  int tasks = 0;                  ///< At a time; 0: any number.
  std::size_t mostChunks = 1000;  ///< That an array of tasks may have.
  double leastTaskSeconds = 0;    ///< Of work, where more chunks than `tasks` are made.
};

/// The indices of the pictures of one task, in the order to be drawn.
using PictureChunk = std::vector<std::size_t>;

/// Shares pictures, each with the seconds that it takes, so that starting takes at most a tenth of
/// a mean chunk, and chunks come in whole rounds of `tasks`, up to four. The pictures that take
/// longest come first, each to the chunk with the least to do; equal ones take turns, so that a
/// sequence which gets heavier towards its end is shared fairly. Together the chunks hold every
/// picture once; none is empty. The one with the most to do comes first.
std::vector<PictureChunk> SharePictures(const std::vector<double>& seconds, const ShareWish& wish);

/// Seconds of a chunk's pictures.
double ChunkSeconds(const PictureChunk& chunk, const std::vector<double>& seconds);

/// Seconds that files of these sizes take, when the one of the middle size takes `middleSeconds`:
/// half of that is the same for all, the other half goes with the size.
std::vector<double> SecondsBySize(const std::vector<std::uint64_t>& sizes, double middleSeconds);

/// The index of the file of the middle size.
std::size_t MiddleSize(const std::vector<std::uint64_t>& sizes);

struct TaskLimits {
  int minutes = 0;
  std::uint64_t megabytes = 0;  ///< Of 1024 * 1024 bytes.
};

/// Limits of a task that is measured to take `seconds` and `peakMemory` bytes: four times the one
/// and five minutes, a year at the most, twice the other and 512 MiB.
TaskLimits LimitsOfTask(double seconds, std::uint64_t peakMemory);

}  // namespace gl3
