// Loads a renderer module and makes its driver.
#include "hostkit/services/module_loader.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

#include "host/GADriver.h"
#include "host/Services.h"
#include "host/Version.h"
#include "hostkit/services/current_driver.h"
#include "hostkit/services/driver_watch.h"
#include "hostkit/services/module_file.h"
#include "hostkit/services/replaced_services.h"
#include "platform/win32.h"

namespace hostkit {
namespace {

namespace fs = std::filesystem;

using DllMainFunction = int (*)(HINSTANCE, DWORD, void*);

struct LibraryCloser {
  void operator()(void* library) const { dlclose(library); }
};
using Library = std::unique_ptr<void, LibraryCloser>;

std::string Demangle(const std::string& symbol) {
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> name(
      abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status), &std::free);
  return status == 0 && name ? name.get() : symbol;
}

/// What dlopen had against the library, with the remedy. `message` is dlerror's.
std::string ExplainLoadError(std::string_view message) {
  constexpr std::string_view kUndefined = "undefined symbol: ";
  const std::size_t at = message.find(kUndefined);
  if (at == std::string_view::npos) {
    return fmt::format("{}; install what it needs, or build it again", message);
  }
  message.remove_prefix(at + kUndefined.size());
  const std::string symbol(message.substr(0, message.find_first_of(" ,\n")));
  return fmt::format(
      "this program does not have the symbol {} that it needs; use a module and a program of the "
      "same build",
      Demangle(symbol));
}

std::string MissingExport(const char* name) {
  return fmt::format("it does not export {}; name a build of {}", name, kModuleName);
}

/// A driver of the module, or null with the reason and remedy in `*why`. The module's exceptions
/// end here.
GADriver* MakeDriver(CreateDriverFunction create, std::string* why) {
  try {
    GADriver* driver = create();
    if (!driver) *why = "its CreateDriver made no driver; free some memory and try again";
    return driver;
  } catch (const std::exception& problem) {
    *why =
        fmt::format("its CreateDriver failed: {}; free some memory and try again", problem.what());
  } catch (...) {
    *why = "its CreateDriver failed; build the module again";
  }
  return nullptr;
}

/// One of the module's three exports; null when it has none of this version.
void* Entry(void* library, const char* name) {
  return dlvsym(library, name, kHostVersion);
}

void CallDllMain(void* library, DWORD reason, int* result) {
  const auto dllMain = reinterpret_cast<DllMainFunction>(Entry(library, "DllMain"));
  if (dllMain) *result = dllMain(static_cast<HINSTANCE>(library), reason, nullptr);
}

/// Opens the library at `path` and tells it that it was attached; null with the reason and remedy
/// in `*why`.
Library OpenLibrary(const std::string& path, std::string* why) {
  *why = WhyNotAModule(path);
  if (!why->empty()) return nullptr;
  // A path without a slash would be searched for among the system's libraries.
  const std::string place = path.find('/') == std::string::npos ? "./" + path : path;
  // NODELETE: the window-system layer keeps the record that the module registered in DllMain.
  Library library(dlopen(place.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE));
  if (!library) {
    const char* message = dlerror();
    *why = ExplainLoadError(message ? message : "it cannot be loaded");
    return nullptr;
  }
  for (const char* name : {"DllMain", "CreateDriver"}) {
    if (Entry(library.get(), name)) continue;
    *why = MissingExport(name);
    return nullptr;
  }
  int attached = 0;
  CallDllMain(library.get(), DLL_PROCESS_ATTACH, &attached);
  if (!attached) {
    *why = "its DllMain refused to start; build the module again";
    return nullptr;
  }
  return library;
}

/// Before any of them is called: what follows may be a crash.
void TellHalfReplaced() {
  static const bool isTold = [] {
    for (const std::string& line : HalfReplacedServices()) {
      std::fprintf(stderr, "%s: warning: %s\n", kModuleName, line.c_str());
    }
    return true;
  }();
  static_cast<void>(isTold);
}

}  // namespace

std::unique_ptr<LoadedModule> LoadedModule::Load(const std::string& path, std::string* error) {
  TellHalfReplaced();
  std::string why;
  Library library = OpenLibrary(path, &why);
  GADriver* driver = nullptr;
  if (library) {
    const auto create =
        reinterpret_cast<CreateDriverFunction>(Entry(library.get(), "CreateDriver"));
    driver = MakeDriver(create, &why);
  }
  if (!driver) {
    if (error) *error = fmt::format("{}: cannot load the module: {}", path, why);
    return nullptr;
  }
  ShowToWatch(driver);
  std::unique_ptr<LoadedModule> module(new LoadedModule(path, library.release()));
  module->m_driver = driver;
  module->m_previousDriver = SetDriver(driver);
  return module;
}

LoadedModule::~LoadedModule() {
  const bool current = GetDriver() == m_driver;
  delete m_driver;  // while it still is the current one: its destructor may ask for it
  if (current) SetDriver(m_previousDriver);
  int ignored = 0;
  CallDllMain(m_library, DLL_PROCESS_DETACH, &ignored);
  dlclose(m_library);
}

void* LoadedModule::Symbol(const char* name) const {
  return dlsym(m_library, name);
}

std::string HostKitFolder() {
  Dl_info self{};
  const bool isKnown = dladdr(reinterpret_cast<const void*>(&HostKitFolder), &self) != 0;
  const std::string library = isKnown && self.dli_fname ? self.dli_fname : "";
  const std::size_t slash = library.rfind('/');
  if (slash == std::string::npos) return {};
  return fs::path(library.substr(0, slash + 1)).lexically_normal().parent_path().string();
}

std::string FindModule(std::string* error) {
  std::vector<fs::path> places;
  const auto add = [&places](const fs::path& folder) {
    const fs::path place = (folder / kModuleName).lexically_normal();
    if (std::find(places.begin(), places.end(), place) == places.end()) places.push_back(place);
  };
  const char* searched = std::getenv(kModuleSearchPath);
  std::string_view rest = searched ? searched : "";
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find(':'), rest.size());
    if (end > 0) add(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  std::error_code code;
  const fs::path program = fs::read_symlink("/proc/self/exe", code).parent_path();
  if (!program.empty()) {
    add(program);
    add(program / "../lib/gl3");
  }
  const fs::path kit = HostKitFolder();
  if (!kit.empty()) {
    add(kit);
    add(kit / "gl3");
    add(kit / "lib/gl3");
  }
  std::string looked;
  for (const fs::path& place : places) {
    if (fs::is_regular_file(place, code)) return place.string();
    looked += (looked.empty() ? "" : ", ") + place.string();
  }
  if (error) {
    *error = fmt::format(
        "cannot find the module {}: it is none of {}; build it, or set {} to its folder",
        kModuleName, looked.empty() ? "(no places)" : looked, kModuleSearchPath);
  }
  return {};
}

}  // namespace hostkit
