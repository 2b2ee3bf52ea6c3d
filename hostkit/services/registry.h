// The host's registry: integer settings in sections of an INI file.
//
// The file is $GL3_REGISTRY, else $XDG_CONFIG_HOME/gl3/registry.ini, else
// $HOME/.config/gl3/registry.ini; without any of these, settings live as long as the process. It is
// read on first use and written whole to a temporary file that then takes its name, so a reader, or
// a process killed in mid-write, sees the old settings or the new ones. Two processes that write at
// once lose no key: each merges its change into what stands in the file under a lock.
// A file that cannot be understood is reported once, moved aside as registry.ini.broken (.broken.2,
// ... when that exists), and never overwritten. GetRegistryValue and SetRegistryValue of
// host/Services.h read and write it; these and what follows may be called from any thread.
#pragma once

#include <string>

namespace hostkit {

/// Where the settings are kept; empty when there is no place for them.
std::string RegistryPath();

/// Sets a value for this process alone: it shadows the file and is not written, not even by a
/// SetRegistryValue of the very same value, unless another value was set before. So a setting stays
/// as it is stored, or not stored, when a settings page stores all that it read.
void OverrideRegistryValue(const std::string& section, const std::string& key, int value);

/// Takes a stored value away, so that the reader's default holds. Overrides stay.
void RemoveRegistryValue(const std::string& section, const std::string& key);

/// Forgets overrides and what was read, so that the next use reads the file (and the environment)
/// again.
void ReloadRegistry();

/// The last thing that went wrong with the file, empty when nothing did. It was also written to
/// standard error when it happened.
std::string RegistryError();

}  // namespace hostkit
