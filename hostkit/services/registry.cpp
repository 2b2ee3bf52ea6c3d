// The host's registry: the values, where they are kept, and what is told to the user.
#include "hostkit/services/registry.h"

#include <fmt/format.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string_view>
#include <system_error>

#include "host/Services.h"
#include "host/String.h"
#include "hostkit/services/registry_file.h"

namespace {

using hostkit::MakeSettingName;
using hostkit::SettingName;

struct Override {
  int value = 0;
  bool isUndone = false;  ///< Another value was written since.
};

/// Everything that the registry knows. Made on first use and never destroyed: a driver that ends
/// with the process may still ask.
struct Registry {
  std::mutex mutex;
  bool loaded = false;
  std::string path;  // empty: there is no place, and settings live in `settings` alone
  hostkit::Settings settings;
  std::map<SettingName, Override> overrides;
  std::set<SettingName> reported;  // settings whose value was complained about
  std::string error;
};

Registry& TheRegistry() {
  static auto* registry = new Registry;
  return *registry;
}

std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

/// Where the settings are kept, by the environment of now.
std::string ChoosePath() {
  std::filesystem::path path = Environment("GL3_REGISTRY");
  if (path.empty()) {
    // Configuration folders that are not absolute do not count.
    std::filesystem::path folder = Environment("XDG_CONFIG_HOME");
    if (!folder.is_absolute()) {
      folder = Environment("HOME");
      if (folder.is_absolute()) folder /= ".config";
    }
    if (!folder.is_absolute()) return {};
    path = folder / "gl3" / "registry.ini";
  }
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(path, error);
  return (error ? path : absolute).string();
}

/// Tells the user, and remembers it for RegistryError.
void Report(Registry& registry, const std::string& message) {
  registry.error = message;
  fmt::print(stderr, "gl3: {}\n", message);
}

/// Reads the file when that has not been done.
void Load(Registry& registry) {
  if (registry.loaded) return;
  registry.loaded = true;
  registry.path = ChoosePath();
  if (registry.path.empty()) return;
  std::string error;
  hostkit::ReadRegistryFile(registry.path, &registry.settings, &error);
  if (!error.empty()) Report(registry, error);
}

/// `text`, what stands for a setting, as an integer; when it is none, `fallback` and a word to the
/// user (once a setting).
int ToInt(Registry& registry, const String& section, const String& key, std::string_view text,
          int fallback) {
  int value = 0;
  std::string_view digits = text;
  if (digits.size() > 1 && digits[0] == '+' && digits[1] != '-') digits.remove_prefix(1);
  const auto [end, status] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (status == std::errc() && end == digits.data() + digits.size()) return value;
  if (registry.reported.insert(MakeSettingName(section.Text(), key.Text())).second) {
    Report(registry,
           fmt::format("{}: [{}] {}: \"{}\" {}; using {} instead, write a whole number there",
                       registry.path, section.Text(), key.Text(), text,
                       status == std::errc::result_out_of_range
                           ? "is out of range (-2147483648 to 2147483647)"
                           : "is not a whole number",
                       fallback));
  }
  return fallback;
}

/// Whether `value` is what the setting was overridden with: who stores all that was read, as a
/// settings page does, did not choose it. Once another value was written, each one is a choice.
bool IsOverrideWrittenBack(Registry& registry, const SettingName& name, int value) {
  const auto overridden = registry.overrides.find(name);
  if (overridden == registry.overrides.end()) return false;
  overridden->second.isUndone |= overridden->second.value != value;
  return !overridden->second.isUndone;
}

/// Changes the file; without a value it removes the setting.
void Change(Registry& registry, const std::string& section, const std::string& key,
            std::optional<int> value) {
  std::string error;
  hostkit::ChangeRegistryFile(registry.path, section, key, value, &registry.settings, &error);
  if (!error.empty()) Report(registry, error);
}

}  // namespace

int GetRegistryValue(const String& section, const String& key, int fallback) {
  Registry& registry = TheRegistry();
  const std::lock_guard guard(registry.mutex);
  Load(registry);
  const SettingName name = MakeSettingName(section.Text(), key.Text());
  const auto overridden = registry.overrides.find(name);
  if (overridden != registry.overrides.end()) return overridden->second.value;
  const auto stored = registry.settings.find(name);
  if (stored == registry.settings.end()) return fallback;
  return ToInt(registry, section, key, stored->second, fallback);
}

void SetRegistryValue(const String& section, const String& key, int value) {
  Registry& registry = TheRegistry();
  const std::lock_guard guard(registry.mutex);
  Load(registry);
  if (!hostkit::CanBeStored(section.Text(), key.Text())) {
    Report(registry, fmt::format("cannot store the setting \"{}\" of section \"{}\": names hold no "
                                 "line ends, '=' or brackets and do not begin or end with a space; "
                                 "choose another name",
                                 key.Text(), section.Text()));
    return;
  }
  const SettingName name = MakeSettingName(section.Text(), key.Text());
  if (IsOverrideWrittenBack(registry, name, value)) return;
  if (registry.path.empty()) {
    registry.settings[name] = std::to_string(value);
    return;
  }
  Change(registry, section.Text(), key.Text(), value);
}

namespace hostkit {

std::string RegistryPath() {
  Registry& registry = TheRegistry();
  const std::lock_guard guard(registry.mutex);
  return registry.loaded ? registry.path : ChoosePath();
}

void OverrideRegistryValue(const std::string& section, const std::string& key, int value) {
  Registry& registry = TheRegistry();
  const std::lock_guard guard(registry.mutex);
  registry.overrides[MakeSettingName(section, key)] = {value};
}

void RemoveRegistryValue(const std::string& section, const std::string& key) {
  Registry& registry = TheRegistry();
  const std::lock_guard guard(registry.mutex);
  Load(registry);
  if (!registry.path.empty()) return Change(registry, section, key, std::nullopt);
  registry.settings.erase(MakeSettingName(section, key));
}

void ReloadRegistry() {
  Registry& registry = TheRegistry();
  const std::lock_guard guard(registry.mutex);
  registry.loaded = false;
  registry.settings.clear();
  registry.overrides.clear();
  registry.reported.clear();
  registry.error.clear();
}

std::string RegistryError() {
  Registry& registry = TheRegistry();
  const std::lock_guard guard(registry.mutex);
  return registry.error;
}

}  // namespace hostkit
