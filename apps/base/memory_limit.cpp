// How much memory there is for this process.
#include "apps/base/memory_limit.h"

#include <unistd.h>

#include <charconv>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace gl3 {
namespace {

namespace fs = std::filesystem;

/// The lesser one of two amounts, of which 0 is none.
std::uint64_t Lesser(std::uint64_t a, std::uint64_t b) {
  return a == 0 || (b != 0 && b < a) ? b : a;
}

/// The number that a file holds; 0 when there is none, as in "max".
std::uint64_t ReadAmount(const fs::path& file) {
  std::string text;
  std::ifstream(file) >> text;
  std::uint64_t amount = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, amount);
  return error == std::errc() && rest == end ? amount : 0;
}

/// The least of the limits of the group at `path` and of every group that it is in.
std::uint64_t LeastOnTheWay(const fs::path& groups, const fs::path& path, const char* file) {
  std::uint64_t least = ReadAmount(groups / file);
  fs::path folder = groups;
  for (const fs::path& name : path.relative_path()) {
    folder /= name;
    least = Lesser(least, ReadAmount(folder / file));
  }
  return least;
}

bool HasMemory(const std::string& controllers) {
  std::istringstream list(controllers);
  for (std::string name; std::getline(list, name, ',');) {
    if (name == "memory") return true;
  }
  return false;
}

}  // namespace

std::uint64_t ControlGroupMemory(const std::string& processes, const std::string& groups) {
  std::uint64_t least = 0;
  std::ifstream list(processes + "/self/cgroup");
  // "0::/path" of version 2, "4:cpu,memory:/path" of version 1.
  for (std::string line; std::getline(list, line);) {
    const std::size_t first = line.find(':'), second = line.find(':', first + 1);
    if (first == std::string::npos || second == std::string::npos) continue;
    const std::string controllers = line.substr(first + 1, second - first - 1);
    // Of a process outside of the groups that it sees, the path begins with "/..".
    const fs::path path = fs::path(line.substr(second + 1)).lexically_normal();
    if (line.compare(0, second + 1, "0::") == 0) {
      least = Lesser(least, LeastOnTheWay(groups, path, "memory.max"));
    } else if (HasMemory(controllers)) {
      const fs::path own = fs::path(groups) / "memory";
      least = Lesser(least, LeastOnTheWay(own, path, "memory.limit_in_bytes"));
    }
  }
  return least;
}

std::uint64_t UsableMemory(const std::string& processes, const std::string& groups) {
  const long pages = sysconf(_SC_PHYS_PAGES), pageSize = sysconf(_SC_PAGESIZE);
  const std::uint64_t machine =
      pages <= 0 || pageSize <= 0
          ? 0
          : static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize);
  return Lesser(machine, ControlGroupMemory(processes, groups));
}

}  // namespace gl3
