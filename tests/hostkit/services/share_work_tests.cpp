// Work that several threads share.
#include <gtest/gtest.h>

#include <atomic>
#include <vector>

#include "hostkit/services/share_work.h"

namespace {

TEST(ShareWork, RangesCoverEveryNumberOnce) {
  for (const std::size_t count : {0u, 1u, 7u, 8u, 9u, 1000u}) {
    std::vector<std::atomic<int>> calls(count);
    hostkit::ShareRanges(count, 8, [&](std::size_t begin, std::size_t end) {
      ASSERT_LE(end, count);
      for (std::size_t i = begin; i < end; ++i) ++calls[i];
    });
    for (std::size_t i = 0; i < count; ++i) ASSERT_EQ(calls[i], 1) << i << " of " << count;
  }
}

}  // namespace
