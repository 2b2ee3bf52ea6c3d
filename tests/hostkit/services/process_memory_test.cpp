// What processes hold together, as limits count it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "hostkit/services/process_memory.h"

namespace {

constexpr std::uint64_t kTaken = 64 << 20, kNoise = 4 << 20;

TEST(ProcessMemory, CountsNamelessFilesOnceMappedOrNot) {
  const std::uint64_t before = hostkit::MemoryOf({getpid()});
  EXPECT_GT(before, 0u);
  const int file = memfd_create("taken", MFD_CLOEXEC);
  ASSERT_EQ(posix_fallocate(file, 0, kTaken), 0);
  const std::uint64_t taken = hostkit::MemoryOf({getpid()});
  EXPECT_NEAR(static_cast<double>(taken - before), kTaken, kNoise);
  void* const mapped = mmap(nullptr, kTaken, PROT_READ, MAP_SHARED | MAP_POPULATE, file, 0);
  EXPECT_NEAR(static_cast<double>(hostkit::MemoryOf({getpid()})), static_cast<double>(taken),
              kNoise);
  const pid_t child = fork();
  if (child == 0) {
    pause();
    _exit(0);
  }
  const auto alone = static_cast<double>(hostkit::MemoryOf({getpid()}));
  const auto childs = static_cast<double>(hostkit::MemoryOf({child}));
  EXPECT_NEAR(static_cast<double>(hostkit::MemoryOf({getpid(), child})), alone + childs - kTaken,
              kNoise);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_EQ(hostkit::MemoryOf({child}), 0u);
  close(file);
  EXPECT_GT(hostkit::MemoryOf({getpid()}), before + kTaken - kNoise) << "while it is mapped";
  munmap(mapped, kTaken);
}

}  // namespace
