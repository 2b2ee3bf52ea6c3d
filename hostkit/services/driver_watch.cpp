// Who looks at a new driver.
#include "hostkit/services/driver_watch.h"

#include <dlfcn.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "host/Version.h"
#include "hostkit/services/module_loader.h"

namespace hostkit {
namespace {

constinit std::atomic<DriverWatch> g_watch{nullptr};

bool IsAskedFor() {
  const char* const value = std::getenv("GL3_CHECK");
  return value && *value && std::string_view(value) != "0";
}

/// The library that checks, of this version of hosts. Beside this library, wherever that is: the
/// search path of the process may not lead there.
DriverWatch OpenWatch() {
  const std::string name =
      std::string("libgl3checking.so.") + (kHostVersion + std::strlen(kHostVersionPrefix));
  const std::string folder = HostKitFolder();
  const std::string path = folder.empty() ? name : folder + "/" + name;
  void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  void* const entry = library ? dlsym(library, kDriverWatchEntry) : nullptr;
  if (!entry) {
    const char* const why = dlerror();
    std::fprintf(stderr, "GL3_CHECK: nothing is checked: %s; install %s beside libgl3services.so\n",
                 why ? why : "it cannot be opened", name.c_str());
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
