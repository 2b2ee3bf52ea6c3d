// Files that are written anew while their model is shown.
#include "apps/gl3-view/model_watch.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <utility>

namespace view {
namespace {

constexpr int kQuietMilliseconds = 400;

}  // namespace

QStringList FilesOfScene(const QStringList& models, const hostkit::Scene& scene) {
  QStringList files;
  for (const QString& model : models) {
    const QFileInfo info(model);
    const QDir folder = info.absoluteDir();
    files << info.absoluteFilePath();
    for (const char* suffix : {".mtl", ".bin"}) {
      files << folder.filePath(info.completeBaseName() + suffix);
    }
    for (const hostkit::SceneImage& image : scene.images) {
      QString name = QString::fromStdString(image.name).replace('\\', '/');
      // As the importer looks for them: in their place, in the model's folder, in textures there.
      const QString last = QFileInfo(name).fileName();
      for (const QString& place : {name, last, "textures/" + last}) {
        const QString path = QDir::cleanPath(folder.filePath(place));
        if (QFileInfo(path).isFile()) files << path;
      }
    }
  }
  files.removeDuplicates();
  return files;
}

ModelWatch::ModelWatch(std::function<void()> changed) : m_changed(std::move(changed)) {
  m_quiet.setSingleShot(true);
  m_quiet.setInterval(kQuietMilliseconds);
  connect(&m_quiet, &QTimer::timeout, this, [this] { Look(); });
  // Not put off by what else is written in the folder: a look finds whether the files still change.
  const auto touched = [this] {
    if (!m_quiet.isActive()) m_quiet.start();
  };
  connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, touched);
  connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, touched);
}

QString ModelWatch::StampOf(const QStringList& files) {
  QString stamp;
  for (const QString& file : files) {
    const QFileInfo info(file);  // of one that is being replaced: nothing
    stamp += QString("%1 %2\n").arg(info.lastModified().toMSecsSinceEpoch()).arg(info.size());
  }
  return stamp;
}

void ModelWatch::Watch(const QStringList& files, const QString& stamp, qsizetype known) {
  const QStringList before = m_watcher.files() + m_watcher.directories();
  if (!before.isEmpty()) m_watcher.removePaths(before);
  m_files = files;
  m_known = m_last = stamp + StampOf(m_files.mid(known));
  Arm();
  m_quiet.start();
}

/// A file that is replaced is watched no more; its folder tells of the new one.
void ModelWatch::Arm() {
  QStringList paths;
  for (const QString& file : m_files) {
    const QFileInfo info(file);
    if (info.exists()) paths << file;
    if (info.dir().exists()) paths << info.path();
  }
  paths.removeDuplicates();
  for (const QString& path : m_watcher.files() + m_watcher.directories()) paths.removeAll(path);
  if (!paths.isEmpty()) m_watcher.addPaths(paths);
}

void ModelWatch::Look() {
  Arm();
  const QString stamp = StampOf(m_files);
  if (stamp == m_known) return;
  if (stamp != std::exchange(m_last, stamp)) return m_quiet.start();  // it goes on
  m_known = stamp;
  m_changed();
}

}  // namespace view
