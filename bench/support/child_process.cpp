// Child processes with what they cost.
#include "bench/support/child_process.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace bench {
namespace {

double Milliseconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) * 1e-3;
}

/// Starts a program with its output going nowhere; -1 when it cannot be.
pid_t Start(const std::vector<std::string>& command) {
  std::vector<char*> arguments;
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child = -1;
  if (posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ) != 0) {
    child = -1;
  }
  posix_spawn_file_actions_destroy(&actions);
  return child;
}

}  // namespace

ProcessCost RunProcess(const std::vector<std::string>& command) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point start = Clock::now();
  const pid_t child = Start(command);
  int status = 0;
  rusage usage{};
  if (child < 0 || wait4(child, &status, 0, &usage) != child) {
    throw std::runtime_error(command[0] + " cannot be started; build it");
  }
  const std::chrono::duration<double, std::milli> wall = Clock::now() - start;
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    throw std::runtime_error(fmt::format("{} ended with status {}", command[0], status));
  }
  return {{wall.count(), Milliseconds(usage.ru_utime) + Milliseconds(usage.ru_stime)},
          static_cast<double>(usage.ru_maxrss) / 1024};
}

RunningProgram::RunningProgram(const std::vector<std::string>& command)
    : m_process(Start(command)) {
  if (m_process < 0) throw std::runtime_error(command[0] + " cannot be started; build it");
}

bool RunningProgram::HasEnded() const {
  siginfo_t info{};
  return waitid(P_PID, static_cast<id_t>(m_process), &info, WEXITED | WNOHANG | WNOWAIT) != 0 ||
         info.si_pid != 0;
}

double RunningProgram::CpuMilliseconds() const {
  clockid_t clock{};
  timespec time{};
  if (clock_getcpuclockid(m_process, &clock) != 0 || clock_gettime(clock, &time) != 0) return 0;
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
}

double RunningProgram::End() {
  if (m_process <= 0) return 0;
  rusage usage{};
  kill(m_process, SIGTERM);
  wait4(m_process, nullptr, 0, &usage);
  m_process = 0;
  return Milliseconds(usage.ru_utime) + Milliseconds(usage.ru_stime);
}

TemporaryFolder::TemporaryFolder() {
  m_path = (std::filesystem::temp_directory_path() / "gl3-bench-XXXXXX").string();
  if (!mkdtemp(m_path.data())) throw std::runtime_error(m_path + ": cannot be made");
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(m_path, ignored);
}

std::string ProgramFolder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
}

}  // namespace bench
