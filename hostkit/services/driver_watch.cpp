// Who looks at a new driver.
#include "hostkit/services/driver_watch.h"

#include <dlfcn.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace hostkit {
namespace {

constinit std::atomic<DriverWatch> g_watch{nullptr};

bool IsAskedFor() {
  const char* const value = std::getenv("GL3_CHECK");
  return value && *value && std::string_view(value) != "0";
}

/// Beside this library, wherever that is: the search path of the process may not lead there.
DriverWatch OpenWatch() {
  Dl_info self{};
  std::string path = "libgl3checking.so";
  if (dladdr(reinterpret_cast<const void*>(&OpenWatch), &self) && self.dli_fname) {
    const std::string own(self.dli_fname);
    path = own.substr(0, own.rfind('/') + 1) + path;
  }
  void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  void* const entry = library ? dlsym(library, kDriverWatchEntry) : nullptr;
  if (!entry) {
    const char* const why = dlerror();
    std::fprintf(stderr,
                 "GL3_CHECK: nothing is checked: %s; install libgl3checking.so beside "
                 "libgl3services.so\n",
                 why ? why : "libgl3checking.so cannot be opened");
  }
  return reinterpret_cast<DriverWatch>(entry);
}

}  // namespace

void SetDriverWatch(DriverWatch watch) {
  g_watch = watch;
}

void ShowToWatch(GADriver* driver) {
  DriverWatch watch = g_watch;
  if (!watch && IsAskedFor()) {
    static const DriverWatch asked = OpenWatch();
    watch = asked;
  }
  if (watch) watch(driver);
}

}  // namespace hostkit
