// Models from files, without the risk that an importer takes the viewer down with it.
#include "apps/gl3-view/model_loader.h"

#include <exception>
#include <new>
#include <utility>
#include <vector>

#include "apps/base/file_checks.h"
#include "apps/base/messages.h"
#include "apps/base/supervised_child.h"
#include "hostkit/import/model_import.h"

namespace view {
namespace {

std::vector<std::string> Paths(const QStringList& files) {
  std::vector<std::string> paths;
  for (const QString& file : files) paths.push_back(file.toLocal8Bit().toStdString());
  return paths;
}

std::unique_ptr<hostkit::Scene> ImportAll(const std::vector<std::string>& paths,
                                          std::string* error) {
  std::unique_ptr<hostkit::Scene> scene;
  for (const std::string& path : paths) {
    std::unique_ptr<hostkit::Scene> next = hostkit::ImportModel(path, error);
    if (!next) return nullptr;
    if (scene) {
      hostkit::AppendScene(*scene, std::move(*next));
    } else {
      scene = std::move(next);
    }
  }
  return scene;
}

/// What an import leaves.
struct Imported {
  std::unique_ptr<hostkit::Scene> scene;
  std::string error;
};

void Import(const std::vector<std::string>& paths, Imported* result) {
  try {
    result->scene = ImportAll(paths, &result->error);
  } catch (const std::bad_alloc&) {
    result->error = paths.front() + ": memory ran out; close other programs or try a smaller model";
  } catch (const std::exception& problem) {
    result->error = paths.front() + ": " + problem.what() + "; export it anew or in another format";
  }
}

/// The helper's last line, without the program's name.
std::string MessageOf(const QByteArray& output) {
  const QByteArray text = output.trimmed();
  QByteArray line = text.mid(text.lastIndexOf('\n') + 1).trimmed();
  const QByteArray name = QByteArray(kProgramName) + ": ";
  if (line.startsWith(name)) line.remove(0, name.size());
  return line.toStdString();
}

}  // namespace

ModelLoader::~ModelLoader() {
  Cancel();
  for (const std::unique_ptr<QThread>& import : m_imports) import->wait();
}

void ModelLoader::Cancel() {
  m_number++;
  m_done = nullptr;
  if (!m_trial) return;
  m_trial->disconnect();
  m_trial->kill();
  m_trial->waitForFinished();
  m_trial.reset();
}

void ModelLoader::Load(const QStringList& files, Done done) {
  Cancel();
  m_files = files;
  m_done = std::move(done);
  m_trial = std::make_unique<QProcess>();
  m_trial->setStandardOutputFile(QProcess::nullDevice());
  QObject::connect(m_trial.get(), &QProcess::finished, this, &ModelLoader::ConcludeTrial);
  QObject::connect(m_trial.get(), &QProcess::errorOccurred, this, [this](QProcess::ProcessError e) {
    if (e != QProcess::FailedToStart) return;
    Finish(nullptr,
           m_helper.toStdString() + ": the helper program does not start; install it anew");
  });
  m_trial->start(m_helper, QStringList{"--try-import", "--"} + files);
}

void ModelLoader::ConcludeTrial(int code, QProcess::ExitStatus status) {
  if (status == QProcess::NormalExit && code == gl3::kDone) return StartImport();
  std::string error = MessageOf(m_trial->readAllStandardError());
  if (error.empty()) {
    error = m_files.join(", ").toStdString() +
            ": importing it ended without a word; export it anew or in another format";
  }
  Finish(nullptr, error);
}

void ModelLoader::StartImport() {
  m_trial.release()->deleteLater();
  std::erase_if(m_imports, [](const auto& import) { return import->isFinished(); });
  const auto result = std::make_shared<Imported>();
  m_imports.emplace_back(
      QThread::create([result, paths = Paths(m_files)] { Import(paths, result.get()); }));
  QThread* const thread = m_imports.back().get();
  connect(thread, &QThread::finished, this, [this, result, number = m_number] {
    if (number == m_number) Finish(std::move(result->scene), result->error);
  });
  thread->start();
}

void ModelLoader::Finish(std::unique_ptr<hostkit::Scene> scene, const std::string& error) {
  if (m_trial) m_trial.release()->deleteLater();
  const Done done = std::exchange(m_done, nullptr);
  if (done) done(std::move(scene), error);
}

int TryImport(const std::vector<std::string>& files) {
  for (const std::string& file : files) {
    const gl3::Outcome outcome = gl3::CheckInput(file);
    if (outcome.status == gl3::kDone) continue;
    gl3::PrintError(outcome.message);
    return outcome.status;
  }
  return gl3::RunSupervised({}, "", [&](gl3::ParentLine& line, std::string*) -> gl3::Outcome {
    for (const std::string& file : files) {
      line.Enter(gl3::Phase::kImport, file);
      std::string error;
      if (!hostkit::ImportModel(file, &error)) return {gl3::kUnreadableInput, error};
    }
    return {};
  });
}

}  // namespace view
