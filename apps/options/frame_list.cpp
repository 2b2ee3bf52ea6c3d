// Reading lists of frames and parts of them.
#include "apps/options/frame_list.h"

#include <fmt/format.h>

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "apps/base/text.h"

namespace gl3 {
namespace {

constexpr int kLastFrame = 9999999;
constexpr std::size_t kMostFrames = 1000000;
constexpr int kMostChunks = 1000000;

/// From `first` to `last`, either way, by `step`.
struct FrameRange {
  int first = 0, last = 0, step = 1;
};

/// Digits alone: signs would make "1--5" a range.
bool ParseFrame(const std::string& text, int* number) {
  return text.find_first_not_of("0123456789") == std::string::npos && ParseInteger(text, number) &&
         *number <= kLastFrame;
}

bool ParseRange(const std::string& text, FrameRange* range) {
  const std::size_t between = text.find_first_of("-:");
  if (between == std::string::npos) {
    range->step = 1;
    const bool isFrame = ParseFrame(text, &range->first);
    range->last = range->first;
    return isFrame;
  }
  const std::size_t cross = text.find_first_of("xX", between);
  const std::string last = text.substr(between + 1, cross - between - 1);
  if (cross != std::string::npos && !ParseFrame(text.substr(cross + 1), &range->step)) return false;
  return ParseFrame(text.substr(0, between), &range->first) && ParseFrame(last, &range->last) &&
         range->step >= 1;
}

}  // namespace

bool ParseFrameList(const std::string& text, std::vector<int>* frames, std::string* error) {
  std::vector<int> list;
  std::unordered_set<int> seen;
  std::size_t named = 0;  // those that are named again, too: a list may be a stranger's
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t comma = std::min(text.find(',', begin), text.size());
    FrameRange range;
    if (!ParseRange(text.substr(begin, comma - begin), &range)) {
      *error = fmt::format(
          "{} is not a list of frames; give such as 1-240, 1-240x2 or 1-10,20,30-40x5 with frames "
          "from 0 to {}",
          ShellQuote(text), kLastFrame);
      return false;
    }
    const int way = range.first <= range.last ? 1 : -1;
    for (long long frame = range.first; (range.last - frame) * way >= 0;
         frame += way * static_cast<long long>(range.step)) {
      if (seen.insert(static_cast<int>(frame)).second) list.push_back(static_cast<int>(frame));
      if (++named > kMostFrames) {
        *error = fmt::format("{} has more than {} frames; give them in several runs",
                             ShellQuote(text), kMostFrames);
        return false;
      }
    }
    begin = comma + 1;
  }
  *frames = std::move(list);
  return true;
}

bool ParseChunk(const std::string& text, Chunk* chunk, std::string* error) {
  const std::size_t slash = text.find('/');
  Chunk read;
  if (slash != std::string::npos && ParseFrame(text.substr(0, slash), &read.number) &&
      ParseFrame(text.substr(slash + 1), &read.count) && read.number >= 1 &&
      read.number <= read.count && read.count <= kMostChunks) {
    *chunk = read;
    return true;
  }
  *error = ShellQuote(text) + " is not a part; give I/N, such as 2/8 for the second of eight";
  return false;
}

bool IsInChunk(const Chunk& chunk, std::size_t index) {
  return index % static_cast<std::size_t>(chunk.count) ==
         static_cast<std::size_t>(chunk.number) - 1;
}

}  // namespace gl3
