// Other programs that people use for the same.
#include "bench/support/peer_program.h"

#include <fmt/format.h>

#include <cstdio>
#include <memory>

#include "apps/base/run_program.h"

namespace bench {

std::string VersionOf(const Peer& peer) {
  const std::string path = gl3::FindProgram(peer.name);
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
