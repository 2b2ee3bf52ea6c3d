// Loads a renderer module and makes its driver.
#pragma once

#include <memory>
#include <string>
#include <utility>

class GADriver;

namespace hostkit {

/// A loaded module with its driver, which is the host's current driver for as long as this lives.
/// The driver is destroyed and the module closed with it: objects of the driver must be gone then.
/// One lives at a time, on the drawing thread.
class LoadedModule {
 public:
  /// Loads the module file at `path` (see FindModule), calls its DllMain for process attach, and
  /// makes a driver, which is not initialised yet. On failure returns null, and `*error` tells the
  /// file, the missing symbol or other reason, and the remedy, in one line. Of a module that is
  /// made for another version of hosts (host/Version.h) that line names both, and nothing of it has
  /// run. A kind of services that the program has replaced in part is told on standard error
  /// before.
  static std::unique_ptr<LoadedModule> Load(const std::string& path, std::string* error);
  /// Deletes the driver, makes the one before current, and calls DllMain for process detach. The
  /// module's code stays in the process.
  ~LoadedModule();
  LoadedModule(const LoadedModule&) = delete;
  LoadedModule& operator=(const LoadedModule&) = delete;

  /// The driver, never null. Not to be deleted.
  GADriver* Driver() const { return m_driver; }
  /// As it was given to Load.
  const std::string& Path() const { return m_path; }
  /// An exported function by name, null when the module has none.
  void* Symbol(const char* name) const;

 private:
  LoadedModule(std::string path, void* library) : m_path(std::move(path)), m_library(library) {}

  std::string m_path;
  void* m_library;
  GADriver* m_driver = nullptr;
  GADriver* m_previousDriver = nullptr;
};

/// The folder that the host kit's libraries are loaded from, as the system's loader came there;
/// empty when it does not tell.
std::string HostKitFolder();

/// The path of OpenGL3.so: the first that exists in the folders of GL3_MODULE_PATH (colon
/// separated), beside the executable, in ../lib/gl3 from the executable, beside the host kit's
/// libraries, in gl3 or lib/gl3 below these. Empty with `*error` naming every place that was looked
/// in and the remedy.
std::string FindModule(std::string* error);

}  // namespace hostkit
