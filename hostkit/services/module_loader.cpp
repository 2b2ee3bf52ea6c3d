// Loads a renderer module and makes its driver.
#include "hostkit/services/module_loader.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <elf.h>
#include <fmt/format.h>
#include <link.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>
#include <vector>

#include "host/GADriver.h"
#include "host/Services.h"
#include "hostkit/services/current_driver.h"
#include "hostkit/services/driver_watch.h"
#include "platform/win32.h"

namespace hostkit {
namespace {

namespace fs = std::filesystem;

constexpr const char* kModuleName = "OpenGL3.so";
constexpr const char* kSearchPath = "GL3_MODULE_PATH";

using DllMainFunction = int (*)(HINSTANCE, DWORD, void*);

struct LibraryCloser {
  void operator()(void* library) const { dlclose(library); }
};
using Library = std::unique_ptr<void, LibraryCloser>;

/// Reads `count` bytes from `offset` of a file.
bool ReadAt(std::ifstream& file, std::uint64_t offset, void* to, std::size_t count) {
  file.seekg(static_cast<std::streamoff>(offset));
  return static_cast<bool>(file.read(static_cast<char*>(to), static_cast<std::streamsize>(count)));
}

bool IsElf(const ElfW(Ehdr) & header) {
  return std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0;
}

/// Whether the file holds all that its program headers promise. The system's loader maps what they
/// say, and a library that was cut short ends the process with a bus error.
bool IsWhole(std::ifstream& file, const ElfW(Ehdr) & header, std::uint64_t size) {
  for (unsigned i = 0; i < header.e_phnum; ++i) {
    ElfW(Phdr) segment;
    if (!ReadAt(file, header.e_phoff + std::uint64_t{i} * header.e_phentsize, &segment,
                sizeof segment)) {
      return false;
    }
    if (segment.p_type != PT_LOAD) continue;
    if (segment.p_offset > size || segment.p_filesz > size - segment.p_offset) return false;
  }
  return true;
}

/// Why the file at `path` is no library for this process, with the remedy; empty when it may be.
std::string WhyNotALibrary(const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (!fs::exists(status)) {
    const bool missing = status.type() == fs::file_type::not_found;
    return fmt::format("{}; build the module, or set {} to its folder",
                       missing ? "there is no such file" : error.message(), kSearchPath);
  }
  if (!fs::is_regular_file(status)) return "it is not a file; name the module's file itself";
  std::ifstream file(path, std::ios::binary);
  if (!file) return fmt::format("{}; make it readable", std::strerror(errno));

  ElfW(Ehdr) header{}, own{};
  if (!ReadAt(file, 0, &header, sizeof header) || !IsElf(header)) {
    return fmt::format("it is not a shared library; name a build of {}", kModuleName);
  }
  std::ifstream self("/proc/self/exe", std::ios::binary);
  const bool knowSelf = ReadAt(self, 0, &own, sizeof own) && IsElf(own);
  if (knowSelf &&
      (header.e_machine != own.e_machine || header.e_ident[EI_CLASS] != own.e_ident[EI_CLASS] ||
       header.e_ident[EI_DATA] != own.e_ident[EI_DATA])) {
    return "it is built for another machine; build it for this one";
  }
  if (header.e_type != ET_DYN) {
    return fmt::format("it is not a shared library; name a build of {}", kModuleName);
  }
  if (!IsWhole(file, header, fs::file_size(path, error))) {
    return "the file is cut short; build or copy it again";
  }
  return {};
}

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

void CallDllMain(void* library, DWORD reason, int* result) {
  const auto dllMain = reinterpret_cast<DllMainFunction>(dlsym(library, "DllMain"));
  if (dllMain) *result = dllMain(static_cast<HINSTANCE>(library), reason, nullptr);
}

/// Opens the library at `path` and tells it that it was attached; null with the reason and remedy
/// in `*why`.
Library OpenLibrary(const std::string& path, std::string* why) {
  *why = WhyNotALibrary(path);
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
    if (dlsym(library.get(), name)) continue;
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

}  // namespace

std::unique_ptr<LoadedModule> LoadedModule::Load(const std::string& path, std::string* error) {
  std::string why;
  Library library = OpenLibrary(path, &why);
  GADriver* driver = nullptr;
  if (library) {
    const auto create =
        reinterpret_cast<CreateDriverFunction>(dlsym(library.get(), "CreateDriver"));
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

std::string FindModule(std::string* error) {
  std::vector<fs::path> places;
  const char* searched = std::getenv(kSearchPath);
  std::string_view rest = searched ? searched : "";
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find(':'), rest.size());
    if (end > 0) places.push_back(fs::path(rest.substr(0, end)) / kModuleName);
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  std::error_code code;
  const fs::path folder = fs::read_symlink("/proc/self/exe", code).parent_path();
  if (!folder.empty()) {
    places.push_back(folder / kModuleName);
    places.push_back((folder / ".." / "lib" / "gl3" / kModuleName).lexically_normal());
  }
  std::string looked;
  for (const fs::path& place : places) {
    if (fs::is_regular_file(place, code)) return place.string();
    looked += (looked.empty() ? "" : ", ") + place.string();
  }
  if (error) {
    *error = fmt::format(
        "cannot find the module {}: it is none of {}; build it, or set {} to its folder",
        kModuleName, looked.empty() ? "(no places)" : looked, kSearchPath);
  }
  return {};
}

}  // namespace hostkit
