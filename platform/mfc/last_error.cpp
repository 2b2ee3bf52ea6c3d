// The last error of the system and its text.
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "platform/win32.h"

DWORD GetLastError(void) {
  return static_cast<DWORD>(errno);
}

void SetLastError(DWORD code) {
  errno = static_cast<int>(code);
}

DWORD FormatMessageA(DWORD flags, const void*, DWORD code, DWORD, char* buffer, DWORD, void*) {
  constexpr DWORD kKnown = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM;
  if (flags != kKnown || !buffer) return 0;
  const char* text = strerrordesc_np(static_cast<int>(code));
  char* copy = text ? strdup(text) : nullptr;
  std::memcpy(buffer, &copy, sizeof copy);
  return copy ? static_cast<DWORD>(std::strlen(copy)) : 0;
}

void* LocalFree(void* block) {
  std::free(block);
  return nullptr;
}
