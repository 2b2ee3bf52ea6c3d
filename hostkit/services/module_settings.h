// The renderer module's settings, as a table: where they are kept, what they mean, what may be put
// there. Also how they stand now, and whether they can be changed.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace hostkit {

/// One setting of the registry. A switch has the values 0 (off) and 1 (on).
struct ModuleSetting {
  const char* section;  ///< Of the registry: "OpenGL3", or "General" for the host's own.
  const char* key;      ///< Name within the section.
  int standard;         ///< What holds while nothing is stored: the module's own default.
  /// What may be stored. The module copes with other values, see `meaning`.
  int least, most;
  const char* meaning;  ///< In English, for a user.

  /// Whether its values are 0 and 1.
  bool IsSwitch() const { return least == 0 && most == 1; }
};

/// Every setting that the module reads, in the order of the settings page, then the hidden ones.
const std::vector<ModuleSetting>& ModuleSettings();

/// The setting of that key, whatever its case; null when there is none.
const ModuleSetting* FindModuleSetting(std::string_view key);

/// A setting as it is.
struct SettingValue {
  int value = 0;        ///< What the module gets.
  bool stored = false;  ///< False: the standard value.
};

/// The value as it is now. One that is stored and no number counts as not stored, and the registry
/// tells the user.
SettingValue ReadModuleSetting(const ModuleSetting& setting);

/// Stores a value in the registry's file, or removes the stored one. Returns false when that is not
/// so afterwards; the registry has told the user then, unless RegistryPath is empty. Forgets
/// overrides.
bool StoreModuleSetting(const ModuleSetting& setting, std::optional<int> value);

/// Where the settings are kept.
struct SettingsPlace {
  std::string path;       ///< Empty: nowhere, they last as long as the process.
  bool exists = false;    ///< There is a file.
  bool writable = false;  ///< A setting can be stored.
  std::string problem;    ///< Why it is not writable, with the remedy.
};

/// Looks without touching: nothing is made and no lock is taken.
SettingsPlace FindSettingsPlace();

}  // namespace hostkit
