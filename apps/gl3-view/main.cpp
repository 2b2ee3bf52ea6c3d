// gl3-view: shows models in a window.
#include <QApplication>
#include <QSettings>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/gl3-view/main_window.h"
#include "apps/gl3-view/model_loader.h"
#include "apps/gl3-view/renderer_dialogs.h"
#include "apps/gl3-view/texts.h"
#include "apps/gl3-view/view_options.h"
#include "apps/work/render/frame_setup.h"
#include "platform/platform.h"

namespace view {
namespace {

/// Qt ends the process when it cannot work; it is told as everything else is told.
void HandleQtMessage(QtMsgType type, const QMessageLogContext&, const QString& text) {
  if (type != QtFatalMsg) return gl3::PrintNote("Qt: " + text.toStdString());
  gl3::PrintError("the window: " + text.section('\n', 0, 0).toStdString() +
                  "; install the Qt platform plugin xcb, or use gl3 render, which needs no screen");
  std::_Exit(gl3::kNoOpenGl);
}

/// Opens the X server's display before the toolkit does, which would end the process without one.
bool OpenScreen(const std::string& device) {
  setenv("GL3_PLATFORM", "x11", 1);  // the user's wish is about drawing off the screen
  // The renderer draws into X windows: on other desktops, through their X server.
  setenv("QT_QPA_PLATFORM", "xcb", 1);
  // The renderer brings its own OpenGL; without Qt's, windows have the screen's plain visual.
  setenv("QT_XCB_GL_INTEGRATION", "none", 1);
  platform::UseWindows(true);
  const gl3::Outcome opened = gl3::OpenDisplay(device);
  if (opened.status == gl3::kDone) return true;
  // What only concerns the variable that was set above helps nobody.
  std::string reason = opened.message;
  for (const char* part :
       {"OpenGL: ", "GL3_PLATFORM=x11: ", "; leave GL3_PLATFORM out to draw off-screen",
        ", or leave GL3_PLATFORM out"}) {
    const std::size_t at = reason.find(part);
    if (at != std::string::npos) reason.erase(at, std::strlen(part));
  }
  gl3::PrintError(reason + "; gl3 render draws pictures without a screen");
  return false;
}

/// The settings sheet alone.
int ShowSettings(gl3::DriverSession& session) {
  std::string error;
  RendererDialogs(nullptr).ShowSettings(*session.Driver(), &error);
  if (error.empty()) return gl3::kDone;
  gl3::PrintError(error);
  return gl3::kRunFailed;
}

int Run(int argc, char** argv, const ViewOptions& options) {
  if (!OpenScreen(options.run.device)) return gl3::kNoOpenGl;
  qInstallMessageHandler(HandleQtMessage);
  QApplication::setApplicationName("view");
  QApplication::setOrganizationName("gl3");
  QApplication::setApplicationDisplayName("gl3-view");
  QApplication::setDesktopFileName("gl3-view");
  QSettings::setDefaultFormat(QSettings::IniFormat);  // ~/.config/gl3/view.ini
  QApplication application(argc, argv);
  // It made the user's locale the process's. Numbers of the renderer's report keep their points.
  std::setlocale(LC_NUMERIC, "C");
  UseCatalogues((QApplication::applicationDirPath() + "/../share/locale").toStdString());

  gl3::ApplyDriverSettings(gl3::RenderOptions());
  gl3::Outcome outcome;
  const gl3::DeviceChoice device{options.run.device, options.run.module};
  std::unique_ptr<gl3::DriverSession> session = gl3::DriverSession::Start(device, &outcome);
  if (!session) {
    gl3::PrintError(outcome.message);
    return outcome.status;
  }
  if (options.settings) return ShowSettings(*session);
  MainWindow window(std::move(session), device, options.run.confined);
  bool isGone = false;
  window.SetGoneListener([&] {
    isGone = true;
    QApplication::quit();
  });
  window.show();
  window.Open(options.models);
  const int status = QApplication::exec();
  if (!isGone) return status;
  gl3::PrintError("the window was destroyed by another program; start gl3-view again");
  std::_Exit(gl3::kRunFailed);  // nothing can be given back to a window that is not there
}

int Main(int argc, char** argv) {
  ViewOptions options;
  int status = gl3::kDone;
  if (!ReadCommandLine(argc, argv, &options, &status)) return status;
  if (options.run.confined) setenv("GL3_CONFINED", "1", 1);  // what the panel chooses goes by that
  return Run(argc, argv, options);
}

}  // namespace
}  // namespace view

int main(int argc, char** argv) {
  gl3::PrepareStandardStreams();
  gl3::SetProgramName(view::kProgramName);
  try {
    return view::Main(argc, argv);
  } catch (const std::bad_alloc&) {
    gl3::PrintError("memory: none is left; close other programs");
  } catch (const std::exception& error) {
    gl3::PrintError(std::string("unexpected: ") + error.what() + "; please report this");
  }
  return gl3::kRunFailed;
}
