// The X server of benchmarks that draw into windows.
#pragma once

#include <cstdlib>
#include <string>

#include "apps/base/x_server.h"
#include "bench/support/harness.h"
#include "platform/platform.h"

namespace bench {

/// Starts the server with a screen of that size, and makes it the display that the module opens: to
/// be called before. False with a note in the report where no server starts.
inline bool StartWindowServer(gl3::XServer& server, int width, int height, Report& report) {
  const std::string name = server.Start(width, height);
  if (name.empty()) {
    report.Note("skipped: no Xvfb starts here; apt-get install xvfb");
    return false;
  }
  setenv("DISPLAY", name.c_str(), 1);
  unsetenv("GL3_PLATFORM");
  platform::UseWindows(true);
  return true;
}

}  // namespace bench
