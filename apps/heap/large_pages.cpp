// Linked into programs that touch hundreds of megabytes once: their heap asks the kernel for pages
// of 2 MiB, where it has them (/sys/kernel/mm/transparent_hugepage), in place of 512 small ones
// that it would hand out one fault after the other. MIMALLOC_LARGE_OS_PAGES in the environment, 0
// or 1, has its way.
#include <fcntl.h>
#include <mimalloc.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace {

constexpr std::size_t kTextSize = 4096;  // /proc/meminfo has about 1,600 bytes

/// The number behind `label` in a file of the kernel's; -1 when it cannot be read. It takes no
/// memory: the heap has not begun.
long ReadNumber(const char* path, const char* label) {
  const int file = open(path, O_RDONLY | O_CLOEXEC);
  if (file < 0) return -1;
  char text[kTextSize];
  const ssize_t size = read(file, text, sizeof text - 1);
  close(file);
  text[size > 0 ? size : 0] = '\0';
  const char* const found = std::strstr(text, label);
  return size > 0 && found ? std::strtol(found + std::strlen(label), nullptr, 10) : -1;
}

/// The heap begins with pages that the machine's owner has set aside, if there are any. These are
/// other programs', and run out in a process that forks, which ends it.
bool NoneAreSetAside() {
  return ReadNumber("/proc/meminfo", "Hugetlb:") == 0 &&
         ReadNumber("/proc/sys/vm/nr_overcommit_hugepages", "") == 0;
}

void AskForLargePages() {
  if (NoneAreSetAside()) mi_option_set_enabled_default(mi_option_large_os_pages, true);
}

// Before the heap takes its first memory, which it does while libraries are initialised.
using Initializer = void (*)();
[[gnu::section(".preinit_array"), gnu::used]] const Initializer kAtStart = AskForLargePages;

}  // namespace
