// Files that are written anew while their model is shown.
#pragma once

#include <QFileSystemWatcher>
#include <QObject>
#include <QStringList>
#include <QTimer>
#include <functional>

#include "hostkit/scene/scene.h"

namespace view {

/// The files that a scene came from, as far as they can be told: the models, the pictures that they
/// name, and files beside them of the same name, in which some formats keep materials and vertices.
QStringList FilesOfScene(const QStringList& models, const hostkit::Scene& scene);

/// Tells when files have changed and then been quiet for a while: programs write a model in several
/// steps, and put a finished file in the place of the old one.
class ModelWatch : public QObject {
 public:
  explicit ModelWatch(std::function<void()> changed);

  /// Watches these from now on, none of which need be there. `stamp`: what StampOf said of the
  /// first `known` of them before they were read; what was written since then is told, too.
  void Watch(const QStringList& files, const QString& stamp, qsizetype known);
  /// The times and sizes of files, which tell whether one was written.
  static QString StampOf(const QStringList& files);
  /// How long nothing may have been written, in milliseconds.
  void SetQuietTime(int milliseconds) { m_quiet.setInterval(milliseconds); }
  /// Whether nothing was written lately that is not told yet.
  bool IsQuiet() const { return !m_quiet.isActive(); }

 private:
  void Arm();
  void Look();

  QFileSystemWatcher m_watcher;
  QTimer m_quiet;
  QStringList m_files;
  QString m_known, m_last;  // the files' times and sizes: as told, and at the last look
  std::function<void()> m_changed;
};

}  // namespace view
