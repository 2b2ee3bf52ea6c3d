// How much memory processes take.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <system_error>
#include <vector>

namespace hostkit {
namespace detail {

/// Bytes that /proc tells of a process.
struct MemoryFigures {
  std::uint64_t own = 0, shared = 0;
};

inline MemoryFigures ReadMemoryFigures(const std::string& process) {
  MemoryFigures figures;
  std::ifstream status(process + "/status");
  for (std::string word; status >> word;) {
    std::uint64_t kibibytes = 0;
    if (word == "RssAnon:" && status >> kibibytes) figures.own = kibibytes * 1024;
    if (word == "RssShmem:" && status >> kibibytes) figures.shared = kibibytes * 1024;
  }
  return figures;
}

/// Adds the files without names (memfd_create) that a process has open, by their numbers.
inline void AddNamelessFiles(const std::string& process,
                             std::map<std::uint64_t, std::uint64_t>* files) {
  namespace fs = std::filesystem;
  std::error_code code;
  for (fs::directory_iterator file(process + "/fd", code), end; !code && file != end;
       file.increment(code)) {
    std::error_code gone;
    if (!fs::read_symlink(file->path(), gone).string().starts_with("/memfd:")) continue;
    struct stat status {};
    if (::stat(file->path().c_str(), &status) != 0) continue;
    (*files)[status.st_ino] = static_cast<std::uint64_t>(status.st_blocks) * 512;
  }
}

}  // namespace detail

/// Bytes of memory that processes hold together, each for itself or through no file; what they
/// share counts once. Processes that are gone hold none. Not a limit of addresses (RLIMIT_AS,
/// RLIMIT_DATA): drivers, allocators and sanitizers reserve far more of them than they use.
inline std::uint64_t MemoryOf(const std::vector<pid_t>& processes) {
  std::uint64_t own = 0, mapped = 0, nameless = 0;
  std::map<std::uint64_t, std::uint64_t> files;
  for (const pid_t process : processes) {
    const std::string folder = "/proc/" + std::to_string(process);
    const detail::MemoryFigures figures = detail::ReadMemoryFigures(folder);
    own += figures.own;
    mapped = std::max(mapped, figures.shared);
    detail::AddNamelessFiles(folder, &files);
  }
  for (const auto& [number, bytes] : files) nameless += bytes;
  // The same pages, seen twice: files need not be mapped, and what is mapped need not be open.
  return own + std::max(mapped, nameless);
}

}  // namespace hostkit
