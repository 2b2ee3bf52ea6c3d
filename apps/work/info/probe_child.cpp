// Questions to OpenGL drivers, asked in a child process.
#include "apps/work/info/probe_child.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>

#include "apps/base/child_process.h"

namespace gl3 {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kTroubleStatus = 3;

[[noreturn]] void RunChild(int descriptor, const std::function<void(const Tell&)>& work) {
  BecomeWorker();
  int status = kTroubleStatus;
  try {
    work([descriptor](const std::string& text) { SendMessage(descriptor, text); });
    status = 0;
  } catch (const std::exception&) {  // the status tells
  }
  std::_Exit(status);  // what a driver does at the very end is not asked for
}

/// Hears until the child has closed its end; false when the time is over before that.
bool Listen(int descriptor, double timeoutSeconds, const Tell& hear) {
  const auto start = Clock::now();
  std::string unread, message;
  for (;;) {
    const double passed = std::chrono::duration<double>(Clock::now() - start).count();
    if (timeoutSeconds > 0 && passed >= timeoutSeconds) return false;
    const double left = timeoutSeconds > 0 ? timeoutSeconds - passed : 1;
    pollfd source = {descriptor, POLLIN, 0};
    if (poll(&source, 1, static_cast<int>(std::min(left, 1.0) * 1000) + 1) <= 0) continue;
    char block[4096];
    const ssize_t count = read(descriptor, block, sizeof block);
    if (count == 0 || (count < 0 && errno != EINTR)) return true;
    unread.append(block, count > 0 ? static_cast<std::size_t>(count) : 0);
    while (TakeMessage(&unread, &message)) hear(message);
  }
}

}  // namespace

std::string RunProbe(double timeoutSeconds, const std::function<void(const Tell& tell)>& work,
                     const Tell& hear) {
  int line[2];
  if (pipe2(line, O_CLOEXEC) != 0) return std::string("has no pipe: ") + std::strerror(errno);
  const pid_t child = fork();
  if (child == 0) {
    close(line[0]);
    RunChild(line[1], work);
  }
  close(line[1]);
  if (child < 0) {
    close(line[0]);
    return std::string("has no process: ") + std::strerror(errno);
  }
  const bool inTime = Listen(line[0], timeoutSeconds, hear);
  if (!inTime) kill(child, SIGKILL);
  close(line[0]);
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (!inTime) return fmt::format("took longer than {} s", timeoutSeconds);
  if (WIFSIGNALED(status)) return fmt::format("crashed ({})", strsignal(WTERMSIG(status)));
  return WEXITSTATUS(status) == 0 ? "" : "ended the process";
}

}  // namespace gl3
