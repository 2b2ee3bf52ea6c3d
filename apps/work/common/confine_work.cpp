// What processes give up that draw what strangers made, or read it.
#include "apps/work/common/confine_work.h"

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <system_error>

#include "apps/base/file_checks.h"
#include "apps/options/output_pattern.h"
#include "hostkit/confine/confine.h"
#include "hostkit/confine/sanitized.h"
#include "hostkit/services/registry.h"

namespace gl3 {
namespace {

namespace fs = std::filesystem;

// Devices of drivers, and memory that they share with them. What is not there counts for nothing.
constexpr const char* kDevices[] = {"/dev/null", "/dev/zero",  "/dev/dri",    "/dev/kfd",
                                    "/dev/shm",  "/dev/mali0", "/dev/udmabuf"};
constexpr const char* kDevicePrefix = "/dev/nvidia";  // and a number, or what it is for

std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

/// The file itself, for devices and pipes, and the folder in which a new one is made; both where
/// links lead.
void AddOutput(const std::string& output, std::vector<std::string>* writable) {
  if (output.empty()) return;
  const OutputPattern pattern(output);
  std::error_code code;
  if (pattern.HasFrame() || pattern.HasCamera()) {
    const std::string folder = pattern.Folder();
    writable->push_back(folder.empty() ? "." : folder);
    return;
  }
  // Of a link to what is not there yet, the library knows only the link.
  const fs::path named = LinkTarget(fs::absolute(pattern.Expand(0, ""), code));
  const fs::path target = fs::weakly_canonical(named, code);
  if (target.empty()) return;
  if (!fs::is_directory(target, code)) writable->push_back(target.string());
  writable->push_back(target.parent_path().string());
}

/// Where drivers keep compiled shaders. The place is told them, or else they ask for the user's
/// home by a socket, for which there is no permission.
void AddCaches(std::vector<std::string>* writable) {
  const std::string home = Environment("HOME");
  std::string cache = Environment("XDG_CACHE_HOME");
  if (cache.empty() && !home.empty()) {
    cache = home + "/.cache";
    setenv("XDG_CACHE_HOME", cache.c_str(), 0);
  }
  std::error_code code;
  if (!cache.empty()) fs::create_directory(cache, code);
  for (const std::string& folder :
       {cache, Environment("MESA_SHADER_CACHE_DIR"), Environment("__GL_SHADER_DISK_CACHE_PATH"),
        home.empty() ? "" : home + "/.nv"}) {
    if (!folder.empty()) writable->push_back(folder);
  }
}

void AddDevices(std::vector<std::string>* writable) {
  writable->insert(writable->end(), std::begin(kDevices), std::end(kDevices));
  std::error_code code;
  for (fs::directory_iterator entry("/dev", code), end; !code && entry != end;
       entry.increment(code)) {
    const std::string path = entry->path().string();
    if (path.starts_with(kDevicePrefix)) writable->push_back(path);
  }
}

Outcome Judge(const hostkit::ConfineResult& lacks, bool mustBe) {
  const std::string& lack = lacks.files.empty() ? lacks.calls : lacks.files;
  if (!mustBe || lack.empty()) return {};
  return {kRunFailed,
          "--confined: " + lack +
              "; use a newer kernel, or leave --confined and GL3_CONFINED out for files "
              "that you trust"};
}

}  // namespace

Outcome ConfineDrawing(const std::vector<std::string>& outputs, bool mustBe) {
  if (kIsSanitized) return {};  // leaks are looked for from a process of their own
  hostkit::Confinement confinement;
  confinement.readsEverything = true;
  for (const std::string& output : outputs) AddOutput(output, &confinement.writable);
  AddCaches(&confinement.writable);
  AddDevices(&confinement.writable);
  const fs::path settings = hostkit::RegistryPath();
  if (!settings.empty()) confinement.writable.push_back(settings.parent_path().string());
  const bool showsWindows = Environment("GL3_PLATFORM") == "x11";
  confinement.sockets =
      showsWindows ? hostkit::Confinement::Sockets::kLocal : hostkit::Confinement::Sockets::kRefuse;
  return Judge(hostkit::Confine(confinement), mustBe);
}

Outcome ConfineReading(const std::string& file, bool mustBe) {
  if (kIsSanitized) return {};  // leaks are looked for from a process of their own
  hostkit::Confinement confinement;
  confinement.readable = {file};
  return Judge(hostkit::Confine(confinement), mustBe);
}

}  // namespace gl3
