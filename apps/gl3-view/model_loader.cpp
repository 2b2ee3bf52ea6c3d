// Models from files, imported beside the window.
#include "apps/gl3-view/model_loader.h"

#include <atomic>
#include <exception>
#include <new>
#include <utility>

#include "apps/base/file_checks.h"
#include "apps/base/messages.h"
#include "apps/base/supervised_child.h"
#include "apps/gl3-view/texts.h"
#include "hostkit/isolated/import_process.h"

namespace view {

/// One load, which the thread of the user interface and one of its own share. The scene and the
/// error belong to the latter until it ends.
struct ModelLoader::Import {
  std::vector<std::string> paths;
  bool confined = false;
  std::atomic<bool> cancelled = false;
  std::unique_ptr<hostkit::Scene> scene;
  std::string error;

  void Run();
};

void ModelLoader::Import::Run() {
  try {
    for (const std::string& path : paths) {
      const gl3::Outcome outcome = gl3::CheckInput(path);
      error = outcome.message;
      if (outcome.status != gl3::kDone) return;
    }
    const gl3::Limits usual;
    hostkit::ImportLimits limits;
    limits.seconds = limits.processorSeconds = usual.timeoutSeconds;
    limits.memory = usual.maxMemory;
    limits.confined = confined;
    limits.cancelled = &cancelled;
    hostkit::ImportProcess(paths, limits).Finish({}, &scene, &error);
  } catch (const std::bad_alloc&) {
    error = paths.front() + ": " +
            Tr("memory ran out; close other programs or try a smaller model").toStdString();
  } catch (const std::exception& problem) {
    error = paths.front() + ": " + problem.what() + "; " +
            Tr("export it anew or in another format").toStdString();
  }
}

ModelLoader::~ModelLoader() {
  Cancel();
  for (const std::unique_ptr<QThread>& thread : m_threads) thread->wait();
}

void ModelLoader::Cancel() {
  if (m_import) m_import->cancelled = true;
  m_import = nullptr;
  m_done = nullptr;
}

void ModelLoader::Load(const QStringList& files, Done done) {
  Cancel();
  std::erase_if(m_threads, [](const auto& thread) { return thread->isFinished(); });
  m_done = std::move(done);
  m_import = std::make_shared<Import>();
  m_import->confined = m_confined;
  for (const QString& file : files) {
    m_import->paths.push_back(file.toLocal8Bit().toStdString());
  }
  m_threads.emplace_back(QThread::create([import = m_import] { import->Run(); }));
  QThread* const thread = m_threads.back().get();
  connect(thread, &QThread::finished, this, [this, import = m_import] {
    if (import == m_import) Finish(std::move(import->scene), import->error);
  });
  thread->start();
}

void ModelLoader::Finish(std::unique_ptr<hostkit::Scene> scene, const std::string& error) {
  m_import = nullptr;
  const Done done = std::exchange(m_done, nullptr);
  if (done) done(std::move(scene), error);
}

}  // namespace view
