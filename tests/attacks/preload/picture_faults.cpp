// A decoder of WebP that has been led astray: it does what GL3_PICTURE_FAULT says in place of
// looking at the file, and then calls it broken. To be preloaded.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>
#include <webp/decode.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

/// So many files without names, of so many bytes each, that nothing maps; waits for the end then.
void TakeMemory(std::size_t bytes, int count) {
  for (int i = 0; i < count; ++i) {
    posix_fallocate(memfd_create("taken", 0), 0, static_cast<off_t>(bytes));
  }
  pause();
}

/// A number of a signal, or what is tried; a try that succeeds aborts.
void Misbehave(const char* fault) {
  if (std::strcmp(fault, "SEGV") == 0) std::raise(SIGSEGV);
  if (std::strcmp(fault, "read") == 0 && open("/etc/passwd", O_RDONLY) >= 0) std::abort();
  if (std::strcmp(fault, "write") == 0 && open("stolen", O_WRONLY | O_CREAT, 0600) >= 0) {
    std::abort();
  }
  char byte = 0;
  if (std::strcmp(fault, "streams") == 0 && (read(0, &byte, 1) > 0 || write(1, "SECRET", 6) < 0)) {
    std::abort();
  }
  if (std::strcmp(fault, "grow") == 0) TakeMemory(std::size_t{1} << 30, 1);
  if (std::strcmp(fault, "hoard") == 0) TakeMemory(std::size_t{64} << 20, 16);
  if (std::strcmp(fault, "socket") == 0) socket(AF_INET, SOCK_STREAM, 0);
  if (std::strcmp(fault, "exec") == 0) execl("/bin/true", "true", nullptr);
}

}  // namespace

extern "C" VP8StatusCode WebPGetFeaturesInternal(const std::uint8_t*, std::size_t,
                                                 WebPBitstreamFeatures*, int) {
  const char* const fault = std::getenv("GL3_PICTURE_FAULT");
  Misbehave(fault ? fault : "");
  return VP8_STATUS_BITSTREAM_ERROR;
}
