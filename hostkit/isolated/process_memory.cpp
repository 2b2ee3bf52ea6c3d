// How much memory a process takes.
#include "hostkit/isolated/process_memory.h"

#include <fmt/format.h>

#include <fstream>
#include <string>

namespace hostkit {

std::uint64_t ProcessMemory(pid_t process) {
  std::ifstream status(fmt::format("/proc/{}/status", process));
  std::uint64_t kibibytes = 0;
  for (std::string word; status >> word;) {
    std::uint64_t amount = 0;
    if ((word == "RssAnon:" || word == "RssShmem:") && status >> amount) kibibytes += amount;
  }
  return kibibytes * 1024;
}

}  // namespace hostkit
