// Another program as a child process, with what it prints.
#include "apps/base/run_program.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <system_error>

namespace gl3 {
namespace {

constexpr std::size_t kMostText = 1 << 20;
/// What the child ends with when there is no such program, as shells do.
constexpr int kNotStarted = 127;

/// A pipe that no other child inherits.
struct Pipe {
  int ends[2] = {-1, -1};
  bool Open() { return pipe2(ends, O_CLOEXEC) == 0; }
  ~Pipe() {
    CloseEnd(0);
    CloseEnd(1);
  }
  void CloseEnd(int end) {
    if (ends[end] >= 0) close(ends[end]);
    ends[end] = -1;
  }
};

/// Becomes the program; in the child.
[[noreturn]] void Become(const std::string& program, const std::vector<std::string>& words,
                         const std::map<std::string, std::string>& changes, int output,
                         int errors) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
  dup2(nothing, 0);
  dup2(output, 1);
  dup2(errors, 2);
  for (const auto& [name, value] : changes) {
    if (value.empty()) {
      unsetenv(name.c_str());
    } else {
      setenv(name.c_str(), value.c_str(), 1);
    }
  }
  std::vector<char*> list;
  list.reserve(words.size() + 1);
  for (const std::string& word : words) list.push_back(const_cast<char*>(word.c_str()));
  list.push_back(nullptr);
  std::signal(SIGPIPE, SIG_DFL);
  execv(program.c_str(), list.data());
  _exit(kNotStarted);
}

/// Reads what there is; closes the end when there will be no more.
void Drain(Pipe& pipe, std::string* text) {
  char bytes[4096];
  const ssize_t count = read(pipe.ends[0], bytes, sizeof bytes);
  if (count < 0 && errno == EINTR) return;
  if (count <= 0) return pipe.CloseEnd(0);
  text->append(bytes, std::min<std::size_t>(static_cast<std::size_t>(count),
                                            kMostText - std::min(kMostText, text->size())));
}

/// Reads both pipes to their ends; false when time is up before that.
bool Follow(Pipe& output, Pipe& errors, double seconds, ProgramEnd* end) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point start = Clock::now();
  while (output.ends[0] >= 0 || errors.ends[0] >= 0) {
    int wait = -1;
    if (seconds > 0) {
      const double left = seconds - std::chrono::duration<double>(Clock::now() - start).count();
      if (left <= 0) return false;
      wait = static_cast<int>(left * 1000) + 1;
    }
    pollfd ends[2] = {{output.ends[0], POLLIN, 0}, {errors.ends[0], POLLIN, 0}};
    if (poll(ends, 2, wait) < 0 && errno != EINTR) return false;
    if (ends[0].revents) Drain(output, &end->output);
    if (ends[1].revents) Drain(errors, &end->errors);
  }
  return true;
}

}  // namespace

ProgramEnd RunProgram(const std::vector<std::string>& words,
                      const std::map<std::string, std::string>& changes, double seconds) {
  ProgramEnd end;
  const bool isName = words[0].find('/') == std::string::npos;
  const std::string program = isName ? FindProgram(words[0]) : words[0];
  Pipe output, errors;
  const pid_t child = output.Open() && errors.Open() ? fork() : -1;
  if (child < 0) {
    end.trouble = fmt::format("cannot be started: {}", std::strerror(errno));
    return end;
  }
  if (child == 0) Become(program, words, changes, output.ends[1], errors.ends[1]);
  output.CloseEnd(1);
  errors.CloseEnd(1);
  const bool inTime = Follow(output, errors, seconds, &end);
  if (!inTime) kill(child, SIGKILL);
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (!inTime) {
    end.trouble = fmt::format("did not end within {} s", seconds);
  } else if (WIFSIGNALED(status)) {
    end.trouble = fmt::format("was ended by signal {}", WTERMSIG(status));
  } else if (WEXITSTATUS(status) == kNotStarted) {
    end.isThere = false;
    end.trouble = "is not there, or cannot be started";
  } else {
    end.status = WEXITSTATUS(status);
  }
  return end;
}

std::string FindProgram(const std::string& name) {
  const char* path = std::getenv("PATH");
  std::istringstream folders(path ? path : "");
  for (std::string folder; std::getline(folders, folder, ':');) {
    if (!folder.starts_with('/')) continue;
    std::string program = folder + "/" + name;
    struct stat status {};
    const bool isFile = stat(program.c_str(), &status) == 0 && S_ISREG(status.st_mode);
    if (isFile && access(program.c_str(), X_OK) == 0) return program;
  }
  return "";
}

std::string OwnProgram() {
  std::error_code code;
  return std::filesystem::read_symlink("/proc/self/exe", code).string();
}

}  // namespace gl3
