// The viewer's window: the picture that leaves it.
#include <QClipboard>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QSettings>
#include <QStatusBar>

#include "apps/gl3-view/main_window.h"
#include "apps/gl3-view/render_command.h"
#include "apps/gl3-view/texts.h"

namespace view {
namespace {

constexpr int kDoneTime = 10000;  // milliseconds

}  // namespace

SaveChoice MainWindow::AsSeen(const QString& file) const {
  const gl3::RenderOptions seen = m_viewport->Options();
  return {file, seen.width, seen.height, false};
}

QString MainWindow::Command(const QString& file) const {
  return RenderCommand(m_files, file,
                       PictureArguments(*m_viewport, m_panel->Arguments(), AsSeen(file)));
}

bool MainWindow::Save(const QString& file, std::string* error) {
  return SavePicture(*m_viewport, m_files,
                     PictureArguments(*m_viewport, m_panel->Arguments(), AsSeen(file)), file,
                     error);
}

bool MainWindow::CopyPicture(std::string* error) {
  const QImage image = DrawImage(*m_viewport, error);
  if (image.isNull()) return false;
  QGuiApplication::clipboard()->setImage(image);
  statusBar()->showMessage(Tr("Copied the picture"), kDoneTime);
  return true;
}

void MainWindow::AskForPicture() {
  QSettings settings;
  SaveChoice choice = AsSeen({});
  const QSize seen(choice.width, choice.height);
  // Empty: as large as the window.
  const QSize last = settings.value("picture size").toSize();
  if (!last.isEmpty()) {
    choice.width = last.width();
    choice.height = last.height();
  }
  choice.recipe = settings.value("recipe", choice.recipe).toString();
  const QString folder = settings.value("picture folder").toString();
  const QString name = QFileInfo(m_files.value(0)).completeBaseName() + ".png";
  std::string error;
  if (!AskWhatToSave(this, folder.isEmpty() ? name : folder + '/' + name, &choice, &error)) {
    if (!error.empty()) Complain(error);
    return;
  }
  const QSize chosen(choice.width, choice.height);
  settings.setValue("recipe", choice.recipe);
  settings.setValue("picture folder", QFileInfo(choice.file).absolutePath());
  settings.setValue("picture size", chosen == seen ? QSize() : chosen);
  const QStringList arguments = PictureArguments(*m_viewport, m_panel->Arguments(), choice);
  if (!SavePicture(*m_viewport, m_files, arguments, choice.file, &error)) return Complain(error);
  statusBar()->showMessage(Tr("Saved %1").arg(choice.file), kDoneTime);
}

}  // namespace view
