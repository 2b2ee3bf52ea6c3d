// The viewer's window: which files it shows.
#include <QAction>
#include <QCollator>
#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QMimeData>
#include <QSettings>
#include <QSignalBlocker>
#include <QStatusBar>
#include <QUrl>
#include <algorithm>
#include <utility>

#include "apps/base/text.h"
#include "apps/base/warning_digest.h"
#include "apps/gl3-view/main_window.h"
#include "apps/gl3-view/recent_files.h"
#include "apps/gl3-view/texts.h"

namespace view {
namespace {

constexpr int kWarningTime = 10000;  // milliseconds
// Cameras in the menu: a file may have any number.
constexpr std::size_t kMostCameras = 500;

/// Lines for a tool tip, which Qt would take for HTML if they looked like it: names out of a model
/// could have pictures fetched from any file.
QString PlainToolTip(const QString& lines) {
  return lines.isEmpty() ? lines : "<p style='white-space:pre'>" + lines.toHtmlEscaped() + "</p>";
}

QStringList LocalFiles(const QMimeData* data) {
  QStringList files;
  for (const QUrl& url : data->urls()) {
    if (url.isLocalFile()) files << url.toLocalFile();
  }
  return files;
}

}  // namespace

void MainWindow::AskForFiles(bool add) {
  const QStringList last = m_recent.isEmpty() ? QStringList() : FilesOfRecent(m_recent.first());
  const QStringList files = QFileDialog::getOpenFileNames(
      this, add ? Tr("Add to the scene") : Tr("Open a model"), QFileInfo(last.value(0)).path());
  if (files.isEmpty()) return;
  if (add) return Load(m_files + files, true, false);
  Open(files);
}

void MainWindow::Open(const QStringList& files) {
  if (!files.isEmpty()) Load(files, false, false);
}

void MainWindow::Reload(bool unasked) {
  if (m_files.isEmpty() || (unasked && !m_follow->isChecked())) return;
  m_wasChanged = unasked && IsLoading();
  if (!m_wasChanged) Load(m_files, true, unasked);
}

/// The file before or behind the one that was asked for last, of those in its folder that look
/// alike: what is still loading or could not be read is not in the way.
void MainWindow::OpenNeighbour(int step) {
  const bool isThere = QFileInfo(m_asked.value(0)).isReadable();
  const QStringList& files = isThere ? m_asked : m_files;
  if (files.isEmpty()) return;
  static const QStringList kKinds = {"*.glb", "*.gltf", "*.obj", "*.ply", "*.stl",
                                     "*.3mf", "*.fbx",  "*.dae", "*.3ds", "*.off"};
  const QFileInfo last(files.first());
  QStringList names = last.absoluteDir().entryList(kKinds + QStringList{"*." + last.suffix()},
                                                   QDir::Files | QDir::Readable);
  QCollator order;
  order.setNumericMode(true);
  order.setCaseSensitivity(Qt::CaseInsensitive);
  std::sort(names.begin(), names.end(), order);
  const qsizetype at = names.indexOf(last.fileName());
  if (at < 0 || names.size() < 2) return;
  const qsizetype next = (at + step + names.size()) % names.size();
  Open({last.absoluteDir().filePath(names[next])});
}

void MainWindow::Load(const QStringList& files, bool stays, bool unasked) {
  m_asked = files;
  const QString what =
      stays ? Tr("Reading %1 anew … (Esc stops it)") : Tr("Loading %1 … (Esc stops it)");
  statusBar()->showMessage(what.arg(files.join(", ")));
  m_cancel->setEnabled(true);
  const QString stamp = ModelWatch::StampOf(files);
  m_loader.Load(files, [=, this](std::unique_ptr<hostkit::Scene> scene, const std::string& error) {
    m_cancel->setEnabled(false);
    statusBar()->clearMessage();
    const bool isRead = scene != nullptr;
    const QStringList watched = isRead ? files + FilesOfScene(files, *scene) : m_watched;
    if (isRead) {
      Show(std::move(scene), files, stays);
    } else if (unasked) {
      m_troubleLabel->setText(Tr("Not read anew: %1").arg(QString::fromStdString(error)));
      m_troubleLabel->setToolTip(PlainToolTip(QString::fromStdString(error)));
      m_troubleLabel->show();
    } else {
      Complain(error);
    }
    // What is written from now on is looked at again, also after a failure.
    if (files == m_files) {
      m_watched = watched;
      m_watch.Watch(m_watched, stamp, files.size());
    }
    if (std::exchange(m_wasChanged, false)) Reload(true);
  });
}

void MainWindow::Show(std::unique_ptr<hostkit::Scene> scene, const QStringList& files, bool stays) {
  std::string error;
  const VisibleParts parts = m_viewport->Parts();
  SceneList::Rows rows = SceneList::RowsOf(*scene);  // before a section takes its pictures
  if (!m_viewport->SetScene(std::move(scene), stays, &error)) {
    FillCameras();
    return Complain(error);
  }
  m_troubleLabel->hide();
  m_hint->hide();
  if (!stays) m_viewport->setFocus();  // arrow keys move the camera
  m_files = files;
  m_recent = WithRecent(m_recent, files);
  QSettings().setValue("recent", m_recent);
  FillRecent();
  FillCameras();
  setWindowTitle(NamesOf(files) + " – gl3-view");
  m_animation->SetModel(m_viewport->Scene(), m_viewport->Time(), stays);
  m_parts->SetRows(std::move(rows));
  ShowFacts(*m_viewport->Scene());
  // Of the same model, as far as can be told.
  if (!stays || !parts.IsAnyHidden() || parts.Count() != m_viewport->Parts().Count()) return;
  Hide(parts.Hidden());
  m_parts->ShowHidden(m_viewport->Parts());
}

void MainWindow::ShowFacts(const hostkit::Scene& model) {
  const std::size_t placed = model.instances.size();
  const QStringList counts = {
      TrCount("%1 triangle", "%1 triangles", model.TriangleCount()),
      TrCount("%1 mesh", "%1 meshes", model.meshes.size()),
      placed == 1 ? Tr("placed once") : TrCount("placed %1 time", "placed %1 times", placed)};
  m_modelLabel->setText(counts.join(", "));
  QStringList warnings;
  for (const std::string& line : gl3::DigestOf(model.warnings)) {
    warnings << QString::fromStdString(gl3::OneLine(line));
  }
  m_modelLabel->setToolTip(PlainToolTip(warnings.join('\n')));
  if (!warnings.empty()) statusBar()->showMessage(warnings.first(), kWarningTime);
}

void MainWindow::FillRecent() {
  m_recentMenu->clear();
  m_recentMenu->setEnabled(!m_recent.isEmpty());
  int number = 1;
  for (const QString& entry : m_recent) {
    const QString name = RecentText(entry).replace('&', "&&");
    m_recentMenu->addAction(QString("&%1 %2").arg(number++).arg(name), this,
                            [this, entry] { Open(FilesOfRecent(entry)); });
  }
}

/// Also what can be done only with a model.
void MainWindow::FillCameras() {
  const hostkit::Scene* const model = m_viewport->Scene();
  for (QAction* action : {m_save, m_copy, m_copyPicture, m_add, m_reload}) {
    action->setEnabled(model != nullptr);
  }
  m_cameraMenu->clear();
  m_cameraMenu->setEnabled(model && !model->cameras.empty());
  if (!model) return;
  for (std::size_t i = 0; i < std::min(model->cameras.size(), kMostCameras); ++i) {
    const QString name =
        QString::fromStdString(gl3::OneLine(model->cameras[i].name)).replace('&', "&&");
    // As the camera is by then: an animation may move it.
    m_cameraMenu->addAction(name, this, [this, i] {
      const hostkit::Scene* const scene = m_viewport->Scene();
      if (!scene || i >= scene->cameras.size()) return;
      m_viewport->TakeCamera(scene->cameras[i]);
      const QSignalBlocker quiet(m_parallel);
      m_parallel->setChecked(m_viewport->Camera().IsParallel());
    });
  }
  if (model->cameras.size() <= kMostCameras) return;
  m_cameraMenu->addAction(Tr("%1 more").arg(model->cameras.size() - kMostCameras))
      ->setEnabled(false);
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (!LocalFiles(event->mimeData()).isEmpty()) event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
  event->acceptProposedAction();
  Open(LocalFiles(event->mimeData()));
}

}  // namespace view
