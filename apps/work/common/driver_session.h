// The display, the renderer module and its driver, started together.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "apps/base/messages.h"
#include "hostkit/services/module_loader.h"

class GADriver;

namespace gl3 {

/// What to start with.
struct DeviceChoice {
  std::string device;  ///< As --device; empty takes GL3_DEVICE, else auto.
  std::string module;  ///< The module's file; empty: looked for.
};

/// Opens the process's display on `device`, as --device; empty takes GL3_DEVICE, else auto. On
/// failure kNoOpenGl and a message "reason; remedy", which speaks of --device where that was given,
/// and starts with it or with "OpenGL: ".
Outcome OpenDisplay(const std::string& device);

/// An operational driver. What was made with it must be gone before this.
class DriverSession {
 public:
  /// On failure returns null; `*outcome` has status kNoOpenGl and a message that says what is
  /// missing: the device that was asked for, OpenGL, the module, or what the module complained of.
  static std::unique_ptr<DriverSession> Start(const DeviceChoice& choice, Outcome* outcome);
  ~DriverSession();
  DriverSession(const DriverSession&) = delete;
  DriverSession& operator=(const DriverSession&) = delete;

  GADriver* Driver() const { return m_module->Driver(); }
  const std::string& ModulePath() const { return m_module->Path(); }

 private:
  explicit DriverSession(std::unique_ptr<hostkit::LoadedModule> module)
      : m_module(std::move(module)) {}

  std::unique_ptr<hostkit::LoadedModule> m_module;
};

}  // namespace gl3
