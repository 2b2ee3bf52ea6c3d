// Models from files, without the risk that an importer takes the viewer down with it.
#pragma once

#include <QObject>
#include <QProcess>
#include <QStringList>
#include <QThread>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "hostkit/scene/scene.h"

namespace view {

/// As messages begin.
inline constexpr const char* kProgramName = "gl3-view";

/// Loads one set of files after another. Importers of foreign formats crash, hang and swallow
/// memory, so a helper process imports first, under the limits of `gl3 render`; what it survives
/// is imported here, on a thread of its own. To be used on the thread of the user interface.
class ModelLoader : public QObject {
 public:
  /// The scene, or null with one line that says what is wrong and what helps.
  using Done = std::function<void(std::unique_ptr<hostkit::Scene> scene, const std::string& error)>;

  /// `helper` is this program: it is started with --try-import and the files.
  explicit ModelLoader(QString helper) : m_helper(std::move(helper)) {}
  /// Waits for imports that cannot be cancelled any more.
  ~ModelLoader() override;

  /// Begins to load files into one scene; `done` is called once, from the event loop, unless
  /// another load or Cancel comes first.
  void Load(const QStringList& files, Done done);
  void Cancel();
  bool IsLoading() const { return m_done != nullptr; }

 private:
  void ConcludeTrial(int code, QProcess::ExitStatus status);
  void StartImport();
  void Finish(std::unique_ptr<hostkit::Scene> scene, const std::string& error);

  QString m_helper;
  QStringList m_files;
  Done m_done;
  std::unique_ptr<QProcess> m_trial;
  std::vector<std::unique_ptr<QThread>> m_imports;  // the last one, and those that were cancelled
  unsigned m_number = 0;  // of the load at hand; a thread that comes too late has another
};

/// What the helper process does: imports `files` in a supervised child, prints one line about what
/// goes wrong, and returns the exit status. To be called before the process has threads.
int TryImport(const std::vector<std::string>& files);

}  // namespace view
