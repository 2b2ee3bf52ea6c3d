// Preloaded into a program: its file systems know no files without a name.
#include <fcntl.h>

#include <cerrno>
#include <cstdarg>

#include "tests/support/next_symbol.h"

// NOLINTNEXTLINE(cert-dcl50-cpp): the C library declares it so.
extern "C" int open(const char* path, int flags, ...) {
  using Open = int(const char*, int, ...);
  static auto* const next = NextSymbol<Open>("open");
  va_list arguments;
  va_start(arguments, flags);
  const int mode = va_arg(arguments, int);  // garbage where there is none, and then not used
  va_end(arguments);
  if ((flags & O_TMPFILE) == O_TMPFILE) {
    errno = EOPNOTSUPP;
    return -1;
  }
  return next(path, flags, mode);
}
