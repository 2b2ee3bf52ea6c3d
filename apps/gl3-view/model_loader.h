// Models from files, imported beside the window.
#pragma once

#include <QObject>
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

/// Loads one set of files after another, each by a process of its own under the limits of
/// `gl3 render`, which a thread waits for. To be used on the thread of the user interface.
class ModelLoader : public QObject {
 public:
  /// The scene, or null with one line that says what is wrong and what helps.
  using Done = std::function<void(std::unique_ptr<hostkit::Scene> scene, const std::string& error)>;

  /// `confined`: models reach their own folders alone, or nothing is read.
  explicit ModelLoader(bool confined) : m_confined(confined) {}
  /// Waits until cancelled imports are gone.
  ~ModelLoader() override;

  /// Begins to load files into one scene; `done` is called once, from the event loop, unless
  /// another load or Cancel comes first.
  void Load(const QStringList& files, Done done);
  void Cancel();
  bool IsLoading() const { return m_done != nullptr; }

 private:
  struct Import;

  void Finish(std::unique_ptr<hostkit::Scene> scene, const std::string& error);

  const bool m_confined;
  Done m_done;
  std::shared_ptr<Import> m_import;                 // the one at hand
  std::vector<std::unique_ptr<QThread>> m_threads;  // of that, and of those that were cancelled
};

}  // namespace view
