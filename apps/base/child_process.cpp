// What child processes have in common that work in place of the program.
#include "apps/base/child_process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>

#include "apps/base/messages.h"

namespace gl3 {

void BecomeWorker() {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const rlimit noCore = {0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
  if (nowhere < 0) return;
  dup2(nowhere, STDIN_FILENO);
  dup2(nowhere, STDOUT_FILENO);
  // What is found to be called wrongly is told there, too.
  if (CurrentVerbosity() == Verbosity::kVerbose || std::getenv("GL3_CHECK")) return;
  dup2(nowhere, STDERR_FILENO);
}

void SendMessage(int descriptor, const std::string& text) {
  std::string message = text.substr(0, text.find('\0'));
  message += '\0';
  for (std::size_t sent = 0; sent < message.size();) {
    const ssize_t count = write(descriptor, message.data() + sent, message.size() - sent);
    if (count <= 0 && errno != EINTR) return;
    if (count > 0) sent += static_cast<std::size_t>(count);
  }
}

bool TakeMessage(std::string* unread, std::string* message) {
  const std::size_t end = unread->find('\0');
  if (end == std::string::npos) return false;
  *message = unread->substr(0, end);
  unread->erase(0, end + 1);
  return true;
}

}  // namespace gl3
