// The running program as a module.
#include <unistd.h>

#include <cstddef>

#include "platform/win32.h"

namespace {

HMODULE RunningProgram() {
  static char anchor;
  return reinterpret_cast<HMODULE>(&anchor);
}

}  // namespace

HMODULE GetModuleHandleA(const char* name) {
  return name ? nullptr : RunningProgram();
}

DWORD GetModuleFileNameA(HMODULE module, char* path, DWORD size) {
  if (!path || size == 0) return 0;
  path[0] = '\0';
  if (module && module != RunningProgram()) return 0;
  const ssize_t length = readlink("/proc/self/exe", path, size);
  const std::size_t end = length < 0 ? 0 : static_cast<std::size_t>(length);
  if (end < size) {
    path[end] = '\0';
    return static_cast<DWORD>(end);
  }
  path[size - 1] = '\0';
  return size;
}
