// A module's file, looked at before any of it is loaded.
#pragma once

#include <string>

namespace hostkit {

/// What the module's file is called.
inline constexpr const char* kModuleName = "OpenGL3.so";
/// The environment's folders to look for it in.
inline constexpr const char* kModuleSearchPath = "GL3_MODULE_PATH";

/// Why the file at `path` is no module for this process, with the remedy; empty when it may be one:
/// a whole shared library for this machine, of the interface's version that this host kit is built
/// for. It is read and never run, since code of another version could not be trusted with as much
/// as its start.
std::string WhyNotAModule(const std::string& path);

}  // namespace hostkit
