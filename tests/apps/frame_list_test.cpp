// Lists of frames, patterns of names, chunks and command words, without running the program.
#include "apps/options/frame_list.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "apps/base/command_words.h"
#include "apps/base/text.h"
#include "apps/options/output_pattern.h"

namespace {

using gl3::OutputPattern;
using Frames = std::vector<int>;
using Words = std::vector<std::string>;

TEST(FrameList, ReadsFramesRangesAndSteps) {
  const std::pair<const char*, Frames> cases[] = {
      {"7", {7}},
      {"0", {0}},
      {"1-4", {1, 2, 3, 4}},
      {"1:4", {1, 2, 3, 4}},
      {"1-10x4", {1, 5, 9}},
      {"1:9X4", {1, 5, 9}},
      {"5-1x2", {5, 3, 1}},
      {"3-3", {3}},
      {"1-3,20,30-40x5", {1, 2, 3, 20, 30, 35, 40}},
      {"4-6,5,1-5", {4, 5, 6, 1, 2, 3}},
      {"9999999-9999990x9", {9999999, 9999990}},
  };
  for (const auto& [text, expected] : cases) {
    Frames frames;
    std::string error;
    EXPECT_TRUE(gl3::ParseFrameList(text, &frames, &error)) << error;
    EXPECT_EQ(frames, expected) << text;
  }
  for (const char* text : {"",
                           ",",
                           "1,",
                           ",1",
                           "1-",
                           "-1",
                           "1--5",
                           "1-5x",
                           "1-5x0",
                           "1-5x-1",
                           "1x2",
                           "a",
                           "1-b",
                           "1.5",
                           "+1",
                           " 1",
                           "1-5x2x2",
                           "1-2-3",
                           "10000000",
                           "0-9999999",
                           "0-999998,0-1",
                           "99999999999999999999"}) {
    Frames frames = {42};
    std::string error;
    EXPECT_FALSE(gl3::ParseFrameList(text, &frames, &error)) << text;
    EXPECT_EQ(frames, Frames{42}) << text;
    EXPECT_NE(error.find("; "), std::string::npos) << error;
  }
}

TEST(FrameList, ChunksHoldEveryItemOnce) {
  for (const int count : {1, 2, 3, 7, 100}) {
    for (const std::size_t items : {0u, 1u, 5u, 99u}) {
      std::vector<int> taken(items);
      for (int number = 1; number <= count; ++number) {
        const std::string text = std::to_string(number) + "/" + std::to_string(count);
        gl3::Chunk chunk;
        std::string error;
        ASSERT_TRUE(gl3::ParseChunk(text, &chunk, &error)) << error;
        for (std::size_t i = 0; i < items; ++i) taken[i] += gl3::IsInChunk(chunk, i);
      }
      EXPECT_EQ(taken, std::vector<int>(items, 1)) << count;
    }
  }
  gl3::Chunk chunk;
  std::string error;
  for (const char* text : {"", "1", "0/2", "3/2", "1/0", "-1/2", "1/2/3", "a/b", "1/"}) {
    EXPECT_FALSE(gl3::ParseChunk(text, &chunk, &error)) << text;
  }
}

TEST(OutputPattern, ExpandsItsPlaces) {
  const std::pair<const char*, const char*> cases[] = {
      {"a.png", "a.png"},           {"a#.png", "a#.png"},   {"a##.png", "a07.png"},
      {"####/x.png", "0007/x.png"}, {"%d.png", "7.png"},    {"%04d.png", "0007.png"},
      {"%3d.png", "007.png"},       {"%%d.png", "%d.png"},  {"%x%", "%x%"},
      {"50%.png", "50%.png"},       {"%c-%03d", "Cam-007"}, {"{camera}_##", "Cam_07"},
      {"{cam}##", "{cam}07"},       {"%%%%##%%", "%%07%"},  {"%999d", "%999d"},
      {"##_##", "07_07"},           {"%099d##", "%099d07"}, {"###############", "000000007"},
  };
  for (const auto& [pattern, path] : cases) {
    EXPECT_EQ(OutputPattern(pattern).Expand(7, "Cam"), path) << pattern;
  }
  EXPECT_EQ(OutputPattern("##").Expand(12345, ""), "12345");
  EXPECT_EQ(OutputPattern("%n/{name}%%n##").Expand(7, "", "a##%c"), "a##%c/a##%c%n07");
  EXPECT_TRUE(OutputPattern("%n").HasName() && !OutputPattern("%%n").HasName());
  EXPECT_TRUE(OutputPattern("x##").HasFrame() && !OutputPattern("x##").HasCamera());
  EXPECT_TRUE(OutputPattern("%c").HasCamera() && !OutputPattern("%c#").HasFrame());
}

TEST(OutputPattern, TakesNoPathsOutOfModels) {
  EXPECT_EQ(
      gl3::FileNames({"a", "../../etc/x", "", "a", ".hidden", "a-2", "l\ni\\ne", "-rf", "a"}),
      (Words{"a", "_._.._etc_x", "camera", "a-2", "_hidden", "a-2-2", "l_i_ne", "_rf", "a-3"}));
  const std::string umlauts = gl3::FileNames({[] {
    std::string name = "x";
    for (int i = 0; i < 80; ++i) name += "\xc3\xa4";
    return name;
  }()})[0];
  EXPECT_EQ(umlauts.size(), 99u) << "cut between letters";
}

TEST(CommandWords, ComeBackAsTheyWent) {
  const Words words = {"gl3", "", "a b", "it's", "$HOME", "-o", "x'\n'y", "\"", "\\", "ä;|", "a=b"};
  Words back;
  EXPECT_TRUE(gl3::SplitCommand(gl3::JoinCommand(words), &back));
  EXPECT_EQ(back, words);
  EXPECT_TRUE(gl3::SplitCommand("  a\\ b\tc'd'\n", &back));
  EXPECT_EQ(back, (Words{"a b", "cd"}));
  for (const std::string text :
       {"a 'b", "a\\", "a $b", "a; b", "a | b", "a `b`", "a > b", "\"a\""}) {
    EXPECT_FALSE(gl3::SplitCommand(text, &back)) << text;
  }
  EXPECT_FALSE(gl3::SplitCommand(std::string(70000, 'a'), &back));
  EXPECT_FALSE(gl3::SplitCommand(std::string("a\0b", 3), &back));
}

}  // namespace
