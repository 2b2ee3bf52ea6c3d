// Other programs, started with their arguments as they are.
#include "apps/work/farm/program_pool.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <ctime>
#include <map>

namespace gl3 {
namespace {

constexpr int kNoProgram = 127;  // as shells have it
constexpr long kTickNanoseconds = 200'000'000;

[[noreturn]] void BecomeProgram(const std::vector<std::string>& words, int out, int err,
                                const sigset_t& mask) {
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  dup2(out, STDOUT_FILENO);
  dup2(err, STDERR_FILENO);
  sigprocmask(SIG_SETMASK, &mask, nullptr);
  std::signal(SIGPIPE, SIG_DFL);
  std::vector<char*> argv;
  argv.reserve(words.size() + 1);
  for (const std::string& word : words) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  execv(argv[0], argv.data());
  _exit(kNoProgram);
}

int StatusOf(int ended) {
  return WIFEXITED(ended) ? WEXITSTATUS(ended) : 128 + WTERMSIG(ended);
}

/// The processes of a pool.
class Pool {
 public:
  Pool(const std::vector<PoolProgram>& programs, const sigset_t& mask)
      : m_programs(programs), m_mask(mask), m_statuses(programs.size(), -1) {}

  bool HasMore() const { return m_next < m_programs.size(); }
  std::size_t Running() const { return m_running.size(); }
  void StartNext();
  /// Takes the statuses of those that ended.
  void Reap();
  void SignalAll(int number) const {
    for (const auto& [process, index] : m_running) kill(process, number);
  }
  std::vector<int> Statuses() const { return m_statuses; }

 private:
  const std::vector<PoolProgram>& m_programs;
  const sigset_t& m_mask;
  std::vector<int> m_statuses;
  std::map<pid_t, std::size_t> m_running;
  std::size_t m_next = 0;
};

void Pool::StartNext() {
  const PoolProgram& program = m_programs[m_next];
  const int log = open(program.log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  const pid_t process = fork();
  if (process == 0) BecomeProgram(program.words, log, log, m_mask);
  if (log >= 0) close(log);
  if (process > 0) {
    m_running[process] = m_next;
  } else {
    m_statuses[m_next] = kNoProgram;
  }
  ++m_next;
}

void Pool::Reap() {
  int ended = 0;
  for (auto at = m_running.begin(); at != m_running.end();) {
    if (waitpid(at->first, &ended, WNOHANG) != at->first) {
      ++at;
      continue;
    }
    m_statuses[at->second] = StatusOf(ended);
    at = m_running.erase(at);
  }
}

}  // namespace

std::vector<int> RunPool(const std::vector<PoolProgram>& programs, int width,
                         const std::function<void()>& tick, const std::function<void()>& tellEnd) {
  sigset_t watched, before;
  sigemptyset(&watched);
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGCHLD}) sigaddset(&watched, number);
  sigprocmask(SIG_BLOCK, &watched, &before);
  Pool pool(programs, before);
  int askedToEnd = 0;
  while (pool.HasMore() || pool.Running() > 0) {
    while (askedToEnd == 0 && pool.HasMore() && pool.Running() < static_cast<std::size_t>(width)) {
      pool.StartNext();
    }
    const timespec wait = {0, kTickNanoseconds};
    const int got = sigtimedwait(&watched, nullptr, &wait);
    if (got > 0 && got != SIGCHLD) {
      askedToEnd = got;
      pool.SignalAll(SIGTERM);
    }
    pool.Reap();
    if (askedToEnd != 0 && pool.Running() == 0) break;
    tick();
  }
  sigprocmask(SIG_SETMASK, &before, nullptr);
  if (askedToEnd != 0) {
    tellEnd();
    std::signal(askedToEnd, SIG_DFL);
    std::raise(askedToEnd);
  }
  return pool.Statuses();
}

}  // namespace gl3
