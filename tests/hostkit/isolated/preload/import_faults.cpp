// Preloaded into the importing process: makes it end as importers do that a file has damaged. Which
// way stands in GL3_IMPORT_FAULT; other programs are left alone.
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "hostkit/isolated/import_protocol.h"

namespace {

/// Says that the scene is there, with these bytes as the scene.
void HandOver(const char* bytes) {
  const bool isWritten = write(hostkit::kMemoryDescriptor, bytes, std::strlen(bytes)) > 0 &&
                         write(hostkit::kProgressDescriptor, "S", 1) == 1;
  if (!isWritten) std::abort();
}

[[gnu::constructor]] void Fail() {
  const char* fault = std::getenv("GL3_IMPORT_FAULT");
  if (!fault || std::strcmp(program_invocation_short_name, hostkit::kImportProgram) != 0) return;
  const auto is = [fault](const char* name) { return std::strcmp(fault, name) == 0; };
  for (const int number : {SIGSEGV, SIGABRT, SIGKILL, SIGTERM, SIGSYS, SIGXFSZ}) {
    if (!is(sigabbrev_np(number))) continue;
    std::signal(number, SIG_DFL);
    raise(number);
  }
  while (is("spin")) {
  }
  while (is("hang")) pause();
  static std::vector<char> memory;
  while (is("grow")) memory.resize(memory.size() + (1 << 20), 1);
  if (is("nonsense")) HandOver("this is no scene");
  if (is("kept")) {
    // A mapping by which it could go on to write.
    if (ftruncate(hostkit::kMemoryDescriptor, 4096) != 0) std::abort();
    mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, hostkit::kMemoryDescriptor, 0);
    if (fork() == 0) {
      close(hostkit::kProgressDescriptor);
      sleep(2);
    } else {
      HandOver("x");
    }
  }
  _exit(3);
}

}  // namespace
