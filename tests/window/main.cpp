// Gives the tests an X server, and the process windows on it.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "platform/platform.h"
#include "tests/support/common/x_server.h"

namespace {
constexpr int kSkipped = 77;  // as tests/CMakeLists.txt has it
}

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  XTestServer server;
  // Processes that a test starts take the server that is there.
  if (!std::getenv("GL3_TEST_DISPLAY")) setenv("GL3_TEST_DISPLAY", server.Start().c_str(), 1);
  setenv("DISPLAY", std::getenv("GL3_TEST_DISPLAY"), 1);
  unsetenv("GL3_PLATFORM");
  platform::UseWindows(true);
  const int result = RUN_ALL_TESTS();
  if (result != 0 || testing::UnitTest::GetInstance()->skipped_test_count() == 0) return result;
  std::fprintf(stderr,
               "window_tests: no Xvfb here, its tests were skipped; apt-get install xvfb\n");
  return kSkipped;
}
