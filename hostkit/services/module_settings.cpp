// The renderer module's settings.
#include "hostkit/services/module_settings.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <limits>
#include <system_error>

#include "host/Services.h"
#include "hostkit/services/atomic_file.h"
#include "hostkit/services/registry.h"
#include "hostkit/services/registry_file.h"

namespace hostkit {
namespace {

namespace fs = std::filesystem;

constexpr const char* kModule = "OpenGL3";  // the module's section
constexpr const char* kHost = "General";    // the host's own, shared with its other renderers

/// Why nothing can be stored in a file at `path`; empty when it can be.
std::string WhyNotWritable(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) == 0) {
    if (!S_ISREG(status.st_mode)) return "it is not a regular file";
    if (faccessat(AT_FDCWD, path.c_str(), R_OK | W_OK, AT_EACCESS) != 0) {
      return std::strerror(errno);
    }
  }
  // The file is replaced as a whole, so it is the folder that counts; a missing one is made.
  std::error_code error;
  fs::path folder = fs::path(path).parent_path();
  while (!fs::exists(folder, error) && folder.has_relative_path()) folder = folder.parent_path();
  if (!fs::is_directory(folder, error)) return folder.string() + " is not a folder";
  if (faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) != 0) {
    return folder.string() + ": " + std::strerror(errno);
  }
  return "";
}

}  // namespace

const std::vector<ModuleSetting>& ModuleSettings() {
  constexpr int kMost = std::numeric_limits<int>::max();
  static const std::vector<ModuleSetting> settings = {
      {kModule, "Polygonmode", 0, 0, 1, "Draw triangles as wires. Any number but 0 counts as 1."},
      {kModule, "Anisotropic", 1, 0, 1,
       "Filter textures sharply at grazing angles, where the device can. The lowest bit counts. "
       "Slow in software, so gl3 and gl3-view leave it off there while it is not stored."},
      {kModule, "Antialias", 0, 0, 1,
       "Smooth the edges of points and lines. The lowest bit counts."},
      {kModule, "SortInverse Transparent Triangles", 0, 0, 1,
       "Kept for hosts that ask for it; drawing always sorts from far to near."},
      {kModule, "Textures Powerof2", 0, 0, 1,
       "Scale textures to sides that are powers of two. The lowest bit counts."},
      {kModule, "Textures Compression", 1, 0, 1,
       "Compress textures with a side above a quarter of the largest. The lowest bit counts."},
      {kModule, "Max Vertices", 12000000, 1, kMost,
       "A batch of triangles is drawn once it has more vertices than this. Smaller numbers take "
       "less memory, and let drawing begin sooner."},
      {kModule, "Max Transparent Triangles", 149999, 1, 16777215,
       "Transparent triangles that a frame has room for, of 128 bytes each."},
      {kHost, "OpenMP Threads", 1, 1, 256,
       "Threads that merge the results of effects. Shared with the host's other renderers."},
  };
  return settings;
}

const ModuleSetting* FindModuleSetting(std::string_view key) {
  const auto name = MakeSettingName("", key);
  const auto& all = ModuleSettings();
  const auto found = std::find_if(all.begin(), all.end(), [&](const ModuleSetting& setting) {
    return MakeSettingName("", setting.key) == name;
  });
  return found == all.end() ? nullptr : &*found;
}

SettingValue ReadModuleSetting(const ModuleSetting& setting) {
  // Only what is not stored follows the fallback.
  const int value = GetRegistryValue(setting.section, setting.key, setting.standard);
  const int other = GetRegistryValue(setting.section, setting.key, setting.standard - 1);
  return {value, value == other};
}

bool StoreModuleSetting(const ModuleSetting& setting, std::optional<int> value) {
  if (RegistryPath().empty()) return false;
  ReloadRegistry();  // the value of an override can be stored, too
  if (value) {
    SetRegistryValue(setting.section, setting.key, *value);
  } else {
    RemoveRegistryValue(setting.section, setting.key);
  }
  ReloadRegistry();  // what counts is what stands in the file
  const SettingValue now = ReadModuleSetting(setting);
  return value ? now.stored && now.value == *value : !now.stored;
}

SettingsPlace FindSettingsPlace() {
  SettingsPlace place;
  place.path = RegistryPath();
  if (place.path.empty()) {
    place.problem =
        "neither GL3_REGISTRY nor XDG_CONFIG_HOME nor HOME names a place; set GL3_REGISTRY to a "
        "file";
    return place;
  }
  const std::string target = FollowLinks(place.path);
  std::error_code error;
  place.exists = fs::exists(target, error);
  const std::string why = WhyNotWritable(target);
  place.writable = why.empty();
  if (!place.writable) {
    place.problem = why + "; make it writable, or name another file in GL3_REGISTRY";
  }
  return place;
}

}  // namespace hostkit
