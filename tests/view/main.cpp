// Gives the viewer's tests an X server, folders of their own and a QApplication, and has them fail
// where the viewer calls the module wrongly.
#include <gtest/gtest.h>

#include <QApplication>
#include <QSettings>
#include <QTemporaryDir>
#include <cstdio>
#include <cstdlib>

#include "apps/base/x_server.h"
#include "hostkit/checking/checking.h"
#include "platform/platform.h"
#include "tests/support/common/misuse_fails.h"

namespace {

constexpr int kSkipped = 77;  // as tests/CMakeLists.txt has it

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  gl3::XServer server;
  const std::string display = server.Start(1400, 900);
  if (display.empty()) {
    std::fprintf(stderr, "view_tests: no Xvfb here, skipped; apt-get install xvfb\n");
    return kSkipped;
  }
  const QTemporaryDir home;
  const std::string folder = home.path().toStdString();
  setenv("DISPLAY", display.c_str(), 1);
  setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
  setenv("GL3_REGISTRY", (folder + "/registry.ini").c_str(), 1);
  setenv("GL3_PLATFORM", "x11", 1);
  setenv("GL3_MODULE_PATH", GL3_LIB_DIR, 1);
  setenv("QT_QPA_PLATFORM", "xcb", 1);
  setenv("QT_XCB_GL_INTEGRATION", "none", 1);
  platform::UseWindows(true);
  if (platform::DescribeDisplay().platform != "x11") {
    std::fprintf(stderr, "view_tests: %s\n", platform::DescribeDisplay().reason.c_str());
    return 1;
  }
  QApplication::setOrganizationName("gl3");
  QApplication::setApplicationName("view");
  QSettings::setDefaultFormat(QSettings::IniFormat);
  QApplication application(argc, argv);
  hostkit::CheckCalls(FailTheTest);
  return RUN_ALL_TESTS();
}
