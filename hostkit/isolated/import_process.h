// Models imported by a process of their own.
//
// Importers of foreign formats crash, hang, swallow memory, and may be made to do worse by whoever
// wrote the file. So a program that does nothing else, gl3-import, reads the models where it can
// reach little besides them, and hands the finished scene over as shared memory, which is looked
// at before it is used. What happens to it is told here in one line.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "hostkit/scene/scene.h"

namespace hostkit {

/// What the importing process may have.
struct ImportLimits {
  double seconds = 0;           ///< From start to end; 0: any.
  double processorSeconds = 0;  ///< 0: any.
  std::uint64_t memory = 0;     ///< Bytes; 0: any.
  /// Whether the bytes that it holds fit into `memory`, for whoever has other imports go on beside
  /// it: asked while Finish or Wait follows it, and may end those. Empty: compared with `memory`.
  std::function<bool(std::uint64_t held)> fits = {};
  bool confined = false;       ///< Read the models' own folders alone, or else fail.
  bool showsMessages = false;  ///< What libraries print goes to standard error.
  /// Once true, which any thread may make it, Finish ends soon with kCancelled. Not owned; may be
  /// null, else it must outlive the import.
  const std::atomic<bool>* cancelled = nullptr;
};

/// How an import ended.
enum class ImportEnd {
  kDone,         ///< There is a scene.
  kUnreadable,   ///< A model cannot be read, or importing it crashed or took too much memory.
  kLate,         ///< Importing it took longer than it may.
  kNotConfined,  ///< The kernel lacks what `confined` asks for.
  kFailed,       ///< No fault of a model: the process could not be started, or was killed.
  kCancelled,    ///< As ImportLimits::cancelled asked.
};

/// The second half of ImportProcess::Finish: looks at what the import of `model` left in shared
/// memory, and takes the scene out of it.
ImportEnd TakeScene(int memory, const std::string& model, std::unique_ptr<Scene>* scene,
                    std::string* error);

/// A kind of model files that can be imported.
struct ImportKind {
  std::string suffix;  ///< In small letters, with its dot.
  std::string format;  ///< For people.
};

/// All kinds, by their suffixes, as the importing process tells them. False with one line in
/// `*error` when it cannot be asked.
bool ListImportKinds(std::vector<ImportKind>* kinds, std::string* error);

/// Decodes a picture file by such a process, which can open nothing else: upright and as bytes, as
/// LoadPicture does here. Ends and errors are as ImportProcess::Finish has them; it returns when
/// that is done.
ImportEnd DecodeApart(const std::string& path, const ImportLimits& limits, BitmapPtr* picture,
                      std::string* error);

/// An import that goes on beside what else is done. To be used by one thread.
class ImportProcess {
 public:
  /// Begins to import `models`, at least one, into one scene, in their order. Of those that hold
  /// several scenes the one called `scene`; where it is empty, their own choice. The process ends
  /// with the thread that calls this. What prevents its start is told by Finish.
  ImportProcess(std::vector<std::string> models, const ImportLimits& limits,
                std::string scene = {});
  /// Ends the process when it still runs.
  ~ImportProcess();
  ImportProcess(const ImportProcess&) = delete;
  ImportProcess& operator=(const ImportProcess&) = delete;

  /// Waits for the scene. `begins` (may be empty) is called with each model's path when its turn
  /// comes, with the first one's at once. In any case but kDone `*error` is one line
  /// that names the model, what happened and the remedy, and `*scene` stays as it is.
  ImportEnd Finish(const std::function<void(const std::string& model)>& begins,
                   std::unique_ptr<Scene>* scene, std::string* error);

  /// The first half of Finish: waits for the end of the process. After kDone what it left is in
  /// Memory(), and not looked at yet.
  ImportEnd Wait(const std::function<void(const std::string& model)>& begins, std::string* error);
  /// Bytes that the process holds as it goes on.
  std::uint64_t HeldMemory() const;
  /// The shared memory with the scene; it goes with this.
  int Memory() const { return m_memory; }

  /// After kDone: milliseconds that the process took, with the look at what it left.
  double Milliseconds() const { return m_milliseconds; }

 private:
  using Begins = std::function<void(const std::string& model)>;
  friend bool ListImportKinds(std::vector<ImportKind>* kinds, std::string* error);
  friend ImportEnd DecodeApart(const std::string& path, const ImportLimits& limits,
                               BitmapPtr* picture, std::string* error);

  /// What is said of the work.
  struct Wording {
    const char *doing, *subject, *worker, *result, *remedy;
  };
  static const Wording kOfModels, kOfPictures;

  /// `work` is a word of the protocol.
  ImportProcess(const char* work, const Wording& wording, std::vector<std::string> models,
                const ImportLimits& limits, std::string scene);
  std::string Start(const char* work);
  void Follow(const Begins& begins);
  bool ReadProgress(const Begins& begins);
  void KeepLimits();
  bool Fits() const;
  void Kill(ImportEnd end, const std::string& why);
  ImportEnd Judge(int status, std::string* error) const;
  std::string TakeText() const;
  static ImportEnd TakeAs(const Wording& wording, int memory, const std::string& model,
                          std::unique_ptr<Scene>* scene, std::string* error);
  friend ImportEnd TakeScene(int memory, const std::string& model, std::unique_ptr<Scene>* scene,
                             std::string* error);
  std::string DeathText(int status, ImportEnd* end) const;
  /// The model whose turn it is.
  const std::string& Model() const { return m_models[m_begun > 0 ? m_begun - 1 : 0]; }

  const Wording& m_wording;
  const std::vector<std::string> m_models;
  const ImportLimits m_limits;
  const std::string m_scene;
  pid_t m_process = -1;
  int m_progress = -1;      // the reading end of what it tells
  int m_memory = -1;        // the shared memory
  std::size_t m_begun = 0;  // models whose turn has come
  char m_lastWord = 0;
  ImportEnd m_end = ImportEnd::kDone;  // else we ended the process ourselves, or it never began
  std::string m_why;
  const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
  double m_milliseconds = 0;
};

}  // namespace hostkit
