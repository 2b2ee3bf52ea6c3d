// What a child says that something has taken over: it is not believed.
#include "apps/base/supervised_child.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>

#include "apps/base/text.h"

namespace {

TEST(Supervised, ChildrenThatTalkNonsenseAreEnded) {
  const std::function<gl3::Outcome(gl3::ParentLine&)> kTalks[] = {
      [](gl3::ParentLine& line) {
        line.Enter(static_cast<gl3::Phase>(9), "OpenGL");
        return gl3::Outcome();
      },
      [](gl3::ParentLine& line) {
        line.Progress(3, 2, "frame 1");
        return gl3::Outcome();
      },
      [](gl3::ParentLine& line) {
        line.Progress(0, 0, "frame 1");
        return gl3::Outcome();
      },
      [](gl3::ParentLine&) {
        return gl3::Outcome{42, ""};
      },
      [](gl3::ParentLine& line) {
        const std::string endless(std::size_t{70} << 20, 'x');
        line.Tell(endless);
        return gl3::Outcome();
      },
      [](gl3::ParentLine& line) {
        for (int i = 0; i < 70; ++i) line.Tell(std::string(std::size_t{1} << 20, 'x'));
        return gl3::Outcome();
      },
  };
  for (const auto& talk : kTalks) {
    gl3::ChildTold told;
    // Its nonsense and its finish may well arrive together.
    const auto work = [&](gl3::ParentLine& line, std::string*) { return talk(line); };
    EXPECT_NE(gl3::RunSupervised({}, "", work, &told), gl3::kDone);
    EXPECT_NE(told.error.find("makes no sense; do not trust"), std::string::npos) << told.error;
  }
}

TEST(OneLine, HasNothingThatSteersATerminal) {
  const std::pair<std::string, std::string> kTexts[] = {
      {"a\x1B[2J\x7F\n", "a [2J"},
      {"\xC2\x9B"
       "31m \xE2\x80\xAE"
       "exe.\xD8\x9C\xE2\x81\xA9",
       " 31m  exe."},
      {"\x9B"
       "31m \xC2 \xE2\x80",
       " 31m \xC2 \xE2"},
      {"\xC3\xA9\xE2\x80\xA6\xF0\x9F\x98\x80\xC2\xA0",
       "\xC3\xA9\xE2\x80\xA6\xF0\x9F\x98\x80\xC2\xA0"},
  };
  for (const auto& [text, line] : kTexts) EXPECT_EQ(gl3::OneLine(text), line);
}

}  // namespace
