// What processes give up that draw what strangers made, or read it.
#include "apps/work/common/confine_work.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <system_error>

#include "apps/base/file_checks.h"
#include "apps/options/output_pattern.h"
#include "host/Services.h"
#include "hostkit/confine/confine.h"
#include "hostkit/confine/sanitized.h"
#include "hostkit/services/module_loader.h"

namespace gl3 {
namespace {

namespace fs = std::filesystem;

// Devices of drivers, and memory that they share with them. What is not there counts for nothing.
constexpr const char* kDevices[] = {"/dev/null", "/dev/zero",  "/dev/dri",    "/dev/kfd",
                                    "/dev/shm",  "/dev/mali0", "/dev/udmabuf"};
constexpr const char* kDevicePrefix = "/dev/nvidia";  // and a number, or what it is for

// Of the system: libraries, drivers and their configuration, fonts, what the kernel tells.
constexpr const char* kSystem[] = {"/usr",
                                   "/bin",
                                   "/lib",
                                   "/lib64",
                                   "/etc",
                                   "/opt",
                                   "/sys",
                                   "/proc/self",
                                   "/proc/cpuinfo",
                                   "/proc/stat",
                                   "/proc/sys",
                                   "/proc/meminfo",
                                   "/proc/driver",
                                   "/dev/urandom",
                                   "/dev/random",
                                   "/nix/store",
                                   "/var/cache/fontconfig",
                                   "/run/opengl-driver"};
constexpr const char* kPathVariables[] = {"GL3_MODULE_PATH", "LD_LIBRARY_PATH",
                                          "LIBGL_DRIVERS_PATH", "__EGL_VENDOR_LIBRARY_DIRS",
                                          "FONTCONFIG_PATH"};

std::string EnvironmentText(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

/// The file itself, for devices and pipes, and the folder in which a new one is made; both where
/// links lead.
void AddOutput(const std::string& output, std::vector<std::string>* writable) {
  if (output.empty()) return;
  const OutputPattern pattern(output);
  std::error_code code;
  if (pattern.HasFrame() || pattern.HasCamera() || pattern.HasName()) {
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

/// Drivers keep compiled shaders in a folder of gl3's own, unless they are told another one: what
/// other programs keep, their shaders too, is not for a process that a stranger's file may lead.
void AddCaches(std::vector<std::string>* writable) {
  const std::string home = EnvironmentText("HOME");
  std::string caches = EnvironmentText("XDG_CACHE_HOME");
  if (caches.empty() && !home.empty()) caches = home + "/.cache";
  const std::string own = caches.empty() ? "" : caches + "/gl3";
  std::error_code code;
  if (!own.empty()) fs::create_directories(own, code);
  for (const char* variable : {"MESA_SHADER_CACHE_DIR", "__GL_SHADER_DISK_CACHE_PATH"}) {
    if (!own.empty()) setenv(variable, own.c_str(), 0);
    const std::string folder = EnvironmentText(variable);
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

/// What a driver and fonts are made of, and where each variable says that more of it is.
void AddReadable(const std::vector<std::string>& inputs, const std::string& module,
                 std::vector<std::string>* readable) {
  readable->insert(readable->end(), inputs.begin(), inputs.end());
  readable->push_back(module);
  readable->insert(readable->end(), std::begin(kSystem), std::end(kSystem));
  std::error_code code;
  const fs::path program = fs::read_symlink("/proc/self/exe", code);
  readable->push_back(program.parent_path().string());
  readable->push_back(hostkit::HostKitFolder());
  for (const char* name : kPathVariables) {
    std::string paths = EnvironmentText(name);
    while (!paths.empty()) {
      const std::size_t end = std::min(paths.find(':'), paths.size());
      readable->push_back(paths.substr(0, end));
      paths.erase(0, end + 1);
    }
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

Outcome ConfineDrawing(const WorkFiles& files, const std::string& module, bool mustBe) {
  if (kIsSanitized) return {};  // leaks are looked for from a process of their own
  hostkit::Confinement confinement;
  confinement.readsEverything = !mustBe;
  if (mustBe) AddReadable(files.inputs, module, &confinement.readable);
  for (const std::string& output : files.outputs) AddOutput(output, &confinement.writable);
  AddCaches(&confinement.writable);
  AddDevices(&confinement.writable);
  // Settings are read while a damaged file can be set aside still; drawing changes none.
  GetRegistryValue("OpenGL3", "", 0);
  const bool showsWindows = EnvironmentText("GL3_PLATFORM") == "x11";
  confinement.sockets =
      showsWindows ? hostkit::Confinement::Sockets::kLocal : hostkit::Confinement::Sockets::kRefuse;
  return Judge(hostkit::Confine(confinement), mustBe);
}

Outcome ConfineToFiles(const WorkFiles& files, const RunOptions& run, const ParentLine& line,
                       int keep) {
  if (kIsSanitized) return {};  // leaks are looked for from a process of their own
  hostkit::Confinement confinement;
  confinement.closeOthers = true;
  confinement.keep = {line.Descriptor(), keep};
  confinement.fileSize = run.limits.maxMemory;
  confinement.readable = files.inputs;
  for (const std::string& output : files.outputs) AddOutput(output, &confinement.writable);
  return Judge(hostkit::Confine(confinement), run.confined);
}

}  // namespace gl3
