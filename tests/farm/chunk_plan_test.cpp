// Sharing pictures among tasks.
#include "apps/work/farm/chunk_plan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <vector>

namespace gl3 {
namespace {

std::vector<std::size_t> Sizes(const std::vector<PictureChunk>& chunks) {
  std::vector<std::size_t> sizes;
  for (const PictureChunk& chunk : chunks) sizes.push_back(chunk.size());
  return sizes;
}

TEST(ChunkPlan, StartingTakesATenthOfATask) {
  const std::vector<double> frames(240, 0.5);
  // 9 s of work to 1 s of start are 18 frames: 13.3 chunks, in whole rounds of the tasks.
  EXPECT_EQ(SharePictures(frames, {1, 0, 1000, 0}).size(), 13u);
  EXPECT_EQ(SharePictures(frames, {1, 4, 1000, 0}).size(), 12u);
  EXPECT_EQ(SharePictures(frames, {1, 8, 1000, 0}).size(), 8u);
  EXPECT_EQ(SharePictures(frames, {1, 20, 1000, 0}).size(), 13u);
  EXPECT_EQ(SharePictures(frames, {1, 3, 1000, 0}).size(), 12u) << "four rounds at the most";
  EXPECT_EQ(SharePictures(frames, {1, 0, 5, 0}).size(), 5u);
  EXPECT_EQ(SharePictures(frames, {1, 2, 1000, 30}).size(), 4u) << "120 s are four tasks of 30 s";
  EXPECT_EQ(SharePictures(frames, {1, 6, 1000, 30}).size(), 6u);
  EXPECT_EQ(SharePictures(frames, {1000, 6, 1000, 0}).size(), 1u);
  EXPECT_EQ(SharePictures({0.5, 0.5}, {0, 8, 1000, 0}).size(), 2u);
  EXPECT_TRUE(SharePictures({}, {1, 8, 1000, 0}).empty());
}

TEST(ChunkPlan, EqualPicturesTakeTurns) {
  const auto chunks = SharePictures(std::vector<double>(7, 0.3), {0, 3, 3, 0});
  const std::vector<PictureChunk> turns = {{0, 3, 6}, {1, 4}, {2, 5}};
  EXPECT_EQ(chunks, turns);
}

TEST(ChunkPlan, TheLargestFilesComeFirstAndAreSpread) {
  const std::vector<double> seconds = {1, 9, 2, 8, 3, 7};
  const auto chunks = SharePictures(seconds, {0, 3, 3, 0});
  const std::vector<PictureChunk> fair = {{1, 0}, {3, 2}, {5, 4}};
  EXPECT_EQ(chunks, fair);
  EXPECT_EQ(ChunkSeconds(chunks[2], seconds), 10);
  // One that outweighs all others has a task of its own, and that begins.
  const auto uneven = SharePictures({1, 1, 50, 1, 1, 1}, {0, 2, 2, 0});
  EXPECT_EQ(uneven[0], PictureChunk{2});
  EXPECT_EQ(Sizes(uneven), (std::vector<std::size_t>{1, 5}));
}

TEST(ChunkPlan, EveryPictureIsDrawnOnce) {
  std::vector<double> seconds;
  for (int i = 0; i < 1001; ++i) seconds.push_back(0.1 + i * i % 17);
  std::vector<std::size_t> all;
  for (const PictureChunk& chunk : SharePictures(seconds, {0.4, 7, 100, 0})) {
    all.insert(all.end(), chunk.begin(), chunk.end());
  }
  std::sort(all.begin(), all.end());
  std::vector<std::size_t> wanted(1001);
  std::iota(wanted.begin(), wanted.end(), std::size_t{0});
  EXPECT_EQ(all, wanted);
}

TEST(ChunkPlan, TimeGoesByTheSizesOfFiles) {
  // The middle one of 100, 200 and 600 takes 4 s: 2 s for any file, and 2 s for 200 bytes.
  EXPECT_EQ(SecondsBySize({600, 100, 200}, 4), (std::vector<double>{8, 3, 4}));
  EXPECT_EQ(MiddleSize({600, 100, 200}), 2u);
  EXPECT_EQ(SecondsBySize({0, 0}, 4), (std::vector<double>{2, 2}));
}

TEST(ChunkPlan, LimitsHaveAReserve) {
  const TaskLimits limits = LimitsOfTask(150, std::uint64_t{300} << 20);
  EXPECT_EQ(limits.minutes, 15);       // 10 and 5
  EXPECT_EQ(limits.megabytes, 1112u);  // 600 and 512
}

}  // namespace
}  // namespace gl3
