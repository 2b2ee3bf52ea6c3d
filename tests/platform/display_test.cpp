// Choice of the display after the environment. It happens once a process: each case has its own.
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>

#include "platform/platform.h"
#include "tests/platform/contexts_fixture.h"

namespace {

struct Case {
  const char* platform;  // null: not set
  const char* device;
  const char* expected;  // what the report reads like
};

void SetOrClear(const char* name, const char* value) {
  if (value) {
    setenv(name, value, 1);
  } else {
    unsetenv(name);
  }
}

/// Describes the display in words; one that opened must also draw.
void Report(const Case& wish) {
  SetOrClear("GL3_PLATFORM", wish.platform);
  SetOrClear("GL3_DEVICE", wish.device);
  unsetenv("DISPLAY");
  const platform::DisplayReport& report = platform::DescribeDisplay();
  std::fprintf(stderr, "[%s] [%s] %s; %s", report.platform.c_str(), report.device.c_str(),
               report.software ? "software" : "hardware", report.reason.c_str());
  if (report.platform.empty()) {
    const GLint attributes[] = {AGL_RGBA, AGL_NONE};
    AGLPbuffer pbuffer = nullptr;
    const bool refused = !aglChoosePixelFormat(nullptr, 0, attributes) &&
                         !aglCreatePBuffer(4, 4, 0, 0, 0, &pbuffer) &&
                         platform::MaxPbufferSize() == 0;
    // Not exit: Mesa is unloaded then, leaving its device list behind where no leak checker can
    // tell whose it is.
    std::_Exit(refused ? 4 : 1);
  }
  const bool drawn = MakeCurrentContext() && (Fill(0, 0, 4, 4, kRed), PixelAt(3, 3) == kRed);
  std::exit(drawn ? 0 : 1);
}

TEST(DisplayDeathTest, FollowsTheEnvironmentOrSaysWhatIsWrongWithIt) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const std::pair<Case, int> cases[] = {
      {{nullptr, nullptr, "^\\[(device|surfaceless)\\]"}, 0},
      {{nullptr, "cpu", "^\\[(device|surfaceless)\\] \\[.*\\] software"}, 0},
      {{"surfaceless", "cpu", "^\\[surfaceless\\] \\[\\] software"}, 0},
      {{"device", "0", "^\\[device\\] \\[.*\\(device 0\\)\\]"}, 0},
      {{nullptr, "banana", "^\\[\\].*GL3_DEVICE=banana is not auto, cpu, gpu or a device number"},
       4},
      {{nullptr, "-1", "^\\[\\].*GL3_DEVICE=-1 is not"}, 4},
      {{nullptr, "99", "^\\[\\].*GL3_DEVICE=99: there is no such device; 0 to"}, 4},
      {{"beos", nullptr, "^\\[\\].*GL3_PLATFORM=beos is not device, surfaceless or x11"}, 4},
      {{"x11", nullptr, "^\\[\\].*need an X server, and DISPLAY is not set"}, 4},
      {{"surfaceless", "1", "^\\[\\].*takes no device number; set GL3_DEVICE to auto"}, 4},
  };
  for (const auto& [wish, status] : cases) {
    EXPECT_EXIT(Report(wish), testing::ExitedWithCode(status), wish.expected);
  }
}

/// What the list of choices tells of device 0 when a platform refused its number.
void ReportDeviceZero() {
  SetOrClear("GL3_PLATFORM", "surfaceless");
  SetOrClear("GL3_DEVICE", "00");
  for (const platform::DisplayChoice& choice : platform::DescribeChoices()) {
    if (choice.device == 0) std::fprintf(stderr, "%s", choice.reason.c_str());
  }
  std::_Exit(0);
}

TEST(DisplayDeathTest, TheChoicesReadADeviceAsTheDisplayDoes) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(ReportDeviceZero(), testing::ExitedWithCode(0),
              "^not tried: the surfaceless platform takes no device number");
}

TEST(DisplayDeathTest, AGpuIsNeverReplacedByTheProcessor) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      Report({nullptr, "gpu", ""}),
      [](int status) { return WIFEXITED(status) && WEXITSTATUS(status) != 1; },
      "^(\\[\\] .*GL3_DEVICE=gpu: no graphics processor here|\\[.+\\] .* hardware)");
}

}  // namespace
