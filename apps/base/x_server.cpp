// Xvfb as a child process.
#include "apps/base/x_server.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace gl3 {

std::string XServer::Start(int width, int height) {
  const std::string screen = std::to_string(width) + "x" + std::to_string(height) + "x24";
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return "";
  m_process = fork();
  if (m_process == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);  // a crash leaves no server behind
    const int quiet = open("/dev/null", O_RDWR);
    const int number = fcntl(ends[1], F_DUPFD, 3);
    dup2(quiet, 1);
    dup2(quiet, 2);
    const std::string text = std::to_string(number);
    execlp("Xvfb", "Xvfb", "-displayfd", text.c_str(), "-screen", "0", screen.c_str(), "-nolisten",
           "tcp", nullptr);
    _exit(127);
  }
  close(ends[1]);
  // It writes its number and a newline when it can be connected to, and closes the pipe when it
  // cannot start.
  std::string number;
  char digit = 0;
  while (read(ends[0], &digit, 1) == 1 && digit != '\n') number += digit;
  close(ends[0]);
  if (digit != '\n') {
    Stop();
    return "";
  }
  return ":" + number;
}

void XServer::Stop() {
  if (m_process <= 0) return;
  kill(m_process, SIGKILL);
  waitpid(m_process, nullptr, 0);
  m_process = 0;
}

}  // namespace gl3
