// Other programs that people use for the same.
#include "bench/support/peer_program.h"

#include <fmt/format.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <sstream>
#include <system_error>

namespace bench {

namespace fs = std::filesystem;

std::string FindProgram(const std::string& name) {
  std::istringstream folders(std::getenv("PATH") ? std::getenv("PATH") : "");
  for (std::string folder; std::getline(folders, folder, ':');) {
    std::error_code code;
    const fs::path path = fs::path(folder) / name;
    if (folder.rfind('/', 0) == 0 && fs::is_regular_file(path, code)) return path.string();
  }
  return "";
}

std::string VersionOf(const Peer& peer) {
  const std::string path = FindProgram(peer.name);
  if (path.empty()) return "";
  const std::string command = fmt::format("'{}' {} 2>/dev/null", path, peer.version);
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> output(popen(command.c_str(), "r"), pclose);
  char line[512];
  std::string found;
  while (output && std::fgets(line, sizeof line, output.get())) {
    const std::string text(line, std::string(line).find('\n'));
    if (found.empty() && text.find(peer.sign) != std::string::npos) found = text;
  }
  return found;
}

}  // namespace bench
