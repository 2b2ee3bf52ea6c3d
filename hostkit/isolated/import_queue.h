// Many models, each imported by a process of its own, for a program that may start none any more.
//
// Whoever draws what strangers made gives up starting programs. So a process is forked before that,
// which starts one import after another and hands over what each left. While one scene is drawn the
// next model is imported, and no more than that one.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "hostkit/isolated/import_process.h"

namespace hostkit {

class ImportQueue {
 public:
  /// Begins with the first model at once. `scene` is as for ImportProcess, and `limits` hold for
  /// each model; limits.cancelled has no meaning here. Call with one thread. What was begun ends
  /// with the process that calls this.
  ImportQueue(std::vector<std::string> models, const ImportLimits& limits,
              const std::string& scene);
  /// Ends what was begun, soon and without waiting for it.
  ~ImportQueue();
  ImportQueue(const ImportQueue&) = delete;
  ImportQueue& operator=(const ImportQueue&) = delete;

  /// Waits for the next model's scene, as ImportProcess::Finish does, and begins with the one
  /// behind it. To be called once for each model, in their order.
  ImportEnd Next(std::unique_ptr<Scene>* scene, std::string* error);
  /// After kDone: milliseconds from the start of that model's import to its end.
  double Milliseconds() const { return m_milliseconds; }

 private:
  const std::vector<std::string> m_models;
  std::size_t m_taken = 0;  // models
  int m_line = -1;          // to the process that starts the imports
  double m_milliseconds = 0;
  std::string m_why;  // there is no such process
};

}  // namespace hostkit
