// The registry's file: reading, merging a change into it, setting a broken one aside. Private to
// the services; the registry itself keeps the values.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace hostkit {

/// Section and key, each in lower case: names are found whatever their case.
using SettingName = std::pair<std::string, std::string>;
using Settings = std::map<SettingName, std::string>;

SettingName MakeSettingName(std::string_view section, std::string_view key);

/// Whether the pair can stand in the file and be read back: no line ends, nothing that reads as
/// another part of a line, no spaces at the ends, not empty.
bool CanBeStored(std::string_view section, std::string_view key);

/// Gives the settings in the file at `path`; a missing file has none. Returns false when it cannot
/// be read, which leaves it where it is, or cannot be understood, which sets it aside when that can
/// be done. `*error` then gets one line with the reason and the remedy.
bool ReadRegistryFile(const std::string& path, Settings* settings, std::string* error);

/// Changes one setting in the file at `path`, making file and folder when missing, and gives all
/// that the file now holds in `*settings`. Without a value it removes the setting, and writes
/// nothing when there is none. Other settings and comments are kept. Writers take
/// turns under a lock, in one process and across processes. On failure returns false, the file is
/// as it was (or set aside, when it was not understood) and `*settings` is not touched. `*error`
/// gets one line with the reason and the remedy on failure, and when a file was set aside.
bool ChangeRegistryFile(const std::string& path, const std::string& section, const std::string& key,
                        std::optional<int> value, Settings* settings, std::string* error);

}  // namespace hostkit
