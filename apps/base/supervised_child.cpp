// Work that may crash, hang or swallow the memory, done in a child process.
#include "apps/base/supervised_child.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <iterator>
#include <new>

#include "apps/base/child_process.h"
#include "apps/base/file_checks.h"
#include "apps/base/memory_limit.h"
#include "apps/base/text.h"
#include "apps/base/warning_digest.h"
#include "hostkit/services/process_memory.h"

namespace gl3 {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kTickMilliseconds = 50;
constexpr double kProgressAfterSeconds = 1;
constexpr double kLongestCleanUpSeconds = 5;
// Bytes of what a child says: all pieces of a report together, its result, and a line of the rest.
constexpr std::size_t kLongestMessage = std::size_t{64} << 20, kLongestLine = 4096;

/// What a phase that does not come to its end means.
struct PhaseMeaning {
  int status;
  const char* doing;
  const char* crashRemedy;
};
constexpr PhaseMeaning kMeanings[] = {
    {kNoOpenGl, "starting the renderer", "try --device cpu; -v shows what the driver says"},
    {kUnreadableInput, "importing it",
     "the file is damaged or of a kind that cannot be read; export it anew or in another format"},
    {kRunFailed, "drawing", "try --device cpu or a smaller picture"},
    {kRunFailed, "writing it", "try another kind of picture"},
    {kRunFailed, "sending it", "try another kind of picture"},
};

double SecondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

/// A process and those that it started and they in turn, which import and decode for it.
// NOLINTNEXTLINE(misc-no-recursion): as deep as processes start one another.
void AddTree(pid_t process, std::vector<pid_t>* processes) {
  processes->push_back(process);
  std::ifstream children(fmt::format("/proc/{0}/task/{0}/children", process));
  for (pid_t child = 0; children >> child;) AddTree(child, processes);
}

std::uint64_t TreeMemory(pid_t process) {
  std::vector<pid_t> processes;
  AddTree(process, &processes);
  return hostkit::MemoryOf(processes);
}

[[noreturn]] void RunChild(int descriptor, const SupervisedWork& work) {
  BecomeWorker();
  // Ctrl-C reaches the whole group; the parent decides, and clears up.
  std::signal(SIGINT, SIG_IGN);
  ParentLine line(descriptor);
  Outcome outcome;
  std::string result;
  try {
    outcome = work(line, &result);
  } catch (const std::bad_alloc&) {
    outcome = {kRunFailed, "memory: none is left; try a smaller picture or model"};
  } catch (const std::exception& error) {
    outcome = {kRunFailed, std::string("unexpected: ") + error.what() + "; please report this"};
  }
  line.Finish(outcome, result);
  std::exit(outcome.status);
}

/// The parent's side: one child, from its first word to its end.
class Supervisor {
 public:
  Supervisor(const Limits& limits, const std::string& output, pid_t child, int pipe, int signals,
             ChildTold* told)
      : m_limits(limits),
        m_output(output),
        m_child(child),
        m_pipe(pipe),
        m_signals(signals),
        m_told(told) {}

  /// Until the child is gone; the exit status.
  int Watch();

 private:
  bool ReadPipe();
  bool Handle(const std::string& message);
  static void PrintWarnings(const std::vector<std::string>& lines);
  bool EnterPhase(const std::string& text);
  bool NoteFinish(const std::string& text);
  void EndNonsense();
  void CheckLimits();
  void End(const std::string& why, const std::string& remedy);
  int Conclude();
  int TakeResult(int code);
  std::string TheEnd(int status) const;
  bool IsBrokenOff() const;
  bool NoteProgress(const std::string& text);
  std::string ProgressText() const;
  void ShowWhatGoesOn() const;
  const PhaseMeaning& Meaning() const { return kMeanings[static_cast<int>(m_phase)]; }

  const Limits& m_limits;
  std::string m_output;  // what is being written, or will be
  pid_t m_child;
  int m_pipe, m_signals;
  ChildTold* m_told;  // or null
  Clock::time_point m_start = Clock::now(), m_phaseStart = m_start;
  Clock::time_point m_limitStart = m_start;  // of the time limit
  Phase m_phase = Phase::kStart;
  std::string m_subject = "OpenGL", m_unread, m_result;
  std::string m_endedBecause, m_endRemedy;
  // Pictures of a sequence: how many are there, of how many, since when, and what is begun.
  std::size_t m_done = 0, m_total = 0, m_doneAtFirst = 0;
  Clock::time_point m_firstProgress;
  std::string m_next;
  int m_askedToEnd = 0;         // a signal, or 0
  WarningDigest m_warnings;     // that wait for something else to be said
  std::size_t m_toldBytes = 0;  // of pieces for whoever started the work
  bool m_talksNonsense = false, m_isLate = false, m_isLarge = false;
  bool m_finished = false;
  int m_status = kRunFailed;  // what the child said at its finish
  Clock::time_point m_finishedAt;
};

int Supervisor::Watch() {
  pollfd sources[] = {{m_pipe, POLLIN, 0}, {m_signals, POLLIN, 0}};
  for (bool open = true; open;) {
    poll(sources, 2, kTickMilliseconds);
    if (sources[0].revents) open = ReadPipe();
    if (sources[1].revents & POLLIN) {
      signalfd_siginfo info;
      if (read(m_signals, &info, sizeof info) == sizeof info) {
        m_askedToEnd = static_cast<int>(info.ssi_signo);
      }
      kill(m_child, SIGKILL);
    }
    CheckLimits();
    ShowWhatGoesOn();
  }
  ShowProgress("");
  return Conclude();
}

/// Reads what is there; false at the end, when the child is gone.
bool Supervisor::ReadPipe() {
  char block[4096];
  const ssize_t count = read(m_pipe, block, sizeof block);
  if (count <= 0) return false;
  m_unread.append(block, static_cast<std::size_t>(count));
  // Long messages come in many blocks, which are not gone through again with each.
  const bool hasEnd = std::memchr(block, '\0', static_cast<std::size_t>(count));
  for (std::string message; hasEnd && !m_talksNonsense && TakeMessage(&m_unread, &message);) {
    m_talksNonsense = !Handle(message) || m_toldBytes > kLongestMessage;
  }
  m_talksNonsense = m_talksNonsense || m_unread.size() > kLongestMessage;
  if (m_talksNonsense) EndNonsense();
  return true;
}

void Supervisor::PrintWarnings(const std::vector<std::string>& lines) {
  for (const std::string& line : lines) PrintWarning(line);
}

/// What the child works on may have turned it against us: so what it says is looked at like a
/// file. False for what no child says.
bool Supervisor::Handle(const std::string& message) {
  if (message.empty()) return false;
  if (message[0] != 'W') PrintWarnings(m_warnings.Take());
  const std::string text = message.substr(1);
  const std::string line = text.substr(0, kLongestLine);
  switch (message[0]) {
    case 'P':
      return EnterPhase(line);
    case 'G':
      return NoteProgress(line);
    case 'W':
      m_warnings.Add(line);
      return true;
    case 'N':
      PrintNote(line);
      return true;
    case 'E':
      if (m_told) m_told->error = line;
      PrintError(line);
      return true;
    case 'T':
      m_toldBytes += text.size();
      if (m_told) m_told->parts.push_back(text);
      return true;
    case 'R':
      m_result = text;
      return true;
    case 'F':
      return NoteFinish(line);
    default:
      return false;
  }
}

/// Nothing that it says from here on counts, and neither does what it said of its finish.
void Supervisor::EndNonsense() {
  m_unread.clear();
  m_finished = false;
  End("said what makes no sense", "do not trust the file");
}

bool Supervisor::EnterPhase(const std::string& text) {
  const std::size_t phase =
      text.empty() ? std::size(kMeanings) : static_cast<unsigned>(text[0] - '0');
  if (phase >= std::size(kMeanings)) return false;
  m_phase = static_cast<Phase>(phase);
  m_subject = text.substr(1);
  m_phaseStart = Clock::now();
  if (m_phase == Phase::kWrite) m_output = m_subject;
  PrintNote(m_subject + ": " + Meaning().doing);
  return true;
}

bool Supervisor::NoteFinish(const std::string& text) {
  int status = 0;
  if (!ParseInteger(text, &status) || status < kDone || status > kMismatch) return false;
  m_finished = true;
  m_finishedAt = Clock::now();
  m_status = status;
  return true;
}

void Supervisor::CheckLimits() {
  if (m_finished) {
    // The picture is there: a driver that hangs in its last clean-up is not waited for.
    if (SecondsSince(m_finishedAt) > kLongestCleanUpSeconds) kill(m_child, SIGKILL);
  } else if (!m_endedBecause.empty()) {
    return;  // it is being ended
  } else if (m_limits.timeoutSeconds > 0 && SecondsSince(m_limitStart) > m_limits.timeoutSeconds) {
    m_isLate = true;
    End(fmt::format("took the {} beyond {} s", m_total > 0 ? "picture" : "run",
                    m_limits.timeoutSeconds),
        "raise --timeout");
  } else if (m_limits.maxMemory > 0 && TreeMemory(m_child) > m_limits.maxMemory) {
    // Imports go on beside the start, and may be what takes it.
    m_isLarge = true;
    End(fmt::format("{}took more than {} of memory",
                    m_phase == Phase::kStart ? "and what goes on beside it " : "",
                    FormatBytes(m_limits.maxMemory)),
        "raise --max-memory");
  }
}

void Supervisor::End(const std::string& why, const std::string& remedy) {
  if (!m_endedBecause.empty()) return;
  m_endedBecause = why;
  m_endRemedy = remedy;
  kill(m_child, SIGKILL);
}

bool Supervisor::NoteProgress(const std::string& text) {
  const bool isFirst = m_total == 0;
  char* rest = nullptr;
  const std::size_t done = std::strtoul(text.c_str(), &rest, 10);
  const std::size_t total = std::strtoul(rest, &rest, 10);
  if (total == 0 || done > total) return false;
  m_done = done;
  m_total = total;
  m_next = *rest ? rest + 1 : "";
  m_limitStart = Clock::now();
  if (!isFirst) return true;
  m_firstProgress = m_limitStart;
  m_doneAtFirst = m_done;
  return true;
}

/// "frame 7 (6 of 240 done): drawing, 3 min 5 s left"; the time once there is one to go by.
std::string Supervisor::ProgressText() const {
  std::string text =
      fmt::format("{} ({} of {} done): {}", m_next, m_done, m_total, Meaning().doing);
  if (m_done <= m_doneAtFirst) return text;
  const double each = std::chrono::duration<double>(m_limitStart - m_firstProgress).count() /
                      static_cast<double>(m_done - m_doneAtFirst);
  const double left = each * static_cast<double>(m_total - m_done) - SecondsSince(m_limitStart);
  return fmt::format("{}, {} left", text, FormatDuration(left));
}

void Supervisor::ShowWhatGoesOn() const {
  if (!ShowsProgress() || m_finished || SecondsSince(m_start) < kProgressAfterSeconds) return;
  if (!m_next.empty()) return ShowProgress(ProgressText());
  ShowProgress(
      fmt::format("{}: {}, {:.0f} s", m_subject, Meaning().doing, SecondsSince(m_phaseStart)));
}

/// Why the child did not come to its end.
std::string Supervisor::TheEnd(int status) const {
  const std::string what = (m_next.empty() || m_subject == m_next ? "" : m_next + ": ") +
                           m_subject + ": " + Meaning().doing;
  if (!m_endedBecause.empty()) {
    return fmt::format("{} {}; {}", what, m_endedBecause, m_endRemedy);
  }
  if (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) {
    return what +
           " was killed from outside, as a system does that is out of memory; close other programs";
  }
  if (WIFSIGNALED(status)) {
    return fmt::format("{} crashed ({}); {}", what, strsignal(WTERMSIG(status)),
                       Meaning().crashRemedy);
  }
  return fmt::format("{} ended the process; {}", what, Meaning().crashRemedy);
}

/// Whether pictures are missing that nobody goes on with: who hears what the child tells does so
/// himself, unless the program is to end or not even one picture was begun.
bool Supervisor::IsBrokenOff() const {
  if (m_done == 0 || m_done >= m_total || m_output.empty()) return false;
  if (m_finished && m_status == kDone) return false;
  return m_askedToEnd != 0 || !m_told || m_next.empty();
}

/// Prints the result of a child that came to its end, or keeps it; the status then.
int Supervisor::TakeResult(int code) {
  if (m_told) {
    if (code == kDone) m_told->result = m_result;
    return code;
  }
  const int printed = m_result.empty() ? kDone : PrintResult(m_result);
  return code == kDone ? printed : code;
}

int Supervisor::Conclude() {
  int status = 0;
  while (waitpid(m_child, &status, 0) < 0 && errno == EINTR) {
  }
  PrintWarnings(m_warnings.TakeRest());
  // A time limit is no fault of what it met, nor is that of memory one of OpenGL's.
  const bool isNoFault = m_isLate || (m_isLarge && m_phase == Phase::kStart);
  int code = isNoFault ? kRunFailed : Meaning().status;
  if (m_finished) {
    // A crash in a driver's last clean-up changes nothing; a leak checker's verdict does.
    code = TakeResult(WIFEXITED(status) ? WEXITSTATUS(status) : m_status);
  } else {
    RemoveUnfinished(m_output, m_child);
    const std::string end = TheEnd(status);
    if (m_askedToEnd == 0) PrintError(end);
    if (m_told) m_told->error = end;
  }
  if (IsBrokenOff()) {
    PrintWarning(
        fmt::format("{} of {} pictures are there, all of them whole; repeat the command "
                    "with --skip-existing to go on",
                    m_done, m_total));
  }
  return !m_finished && m_askedToEnd != 0 ? 128 + m_askedToEnd : code;
}

}  // namespace

std::uint64_t Limits::DefaultMaxMemory() {
  return UsableMemory() / 4 * 3;
}

void ParentLine::Send(char kind, const std::string& text) {
  SendMessage(m_descriptor, kind + text);
}

void ParentLine::Enter(Phase phase, const std::string& subject) {
  Send('P', std::to_string(static_cast<int>(phase)) + subject);
}

void ParentLine::Progress(std::size_t done, std::size_t total, const std::string& next) {
  Send('G', fmt::format("{} {} {}", done, total, next));
}

void ParentLine::Finish(const Outcome& outcome, const std::string& result) {
  if (!outcome.message.empty()) Send('E', outcome.message);
  if (!result.empty()) Send('R', result);
  Send('F', std::to_string(outcome.status));
}

int RunSupervised(const Limits& limits, const std::string& output, const SupervisedWork& work,
                  ChildTold* told) {
  sigset_t watched, before;
  sigemptyset(&watched);
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action;
    // What was ignored when we started (nohup, a shell's background) stays ignored.
    if (sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
      sigaddset(&watched, number);
    }
  }
  sigprocmask(SIG_BLOCK, &watched, &before);
  int line[2];
  const int signals = signalfd(-1, &watched, SFD_CLOEXEC | SFD_NONBLOCK);
  if (signals < 0 || pipe2(line, O_CLOEXEC) != 0) {
    PrintError(std::string("system: ") + std::strerror(errno) + "; close other programs");
    return kRunFailed;
  }
  const pid_t child = fork();
  if (child == 0) {
    close(line[0]);
    close(signals);
    sigprocmask(SIG_SETMASK, &before, nullptr);
    RunChild(line[1], work);
  }
  close(line[1]);
  if (child < 0) {
    PrintError(std::string("system: no process can be made: ") + std::strerror(errno) +
               "; close other programs");
    return kRunFailed;
  }
  const int status = Supervisor(limits, output, child, line[0], signals, told).Watch();
  close(line[0]);
  close(signals);
  if (status > 128) {
    ScratchFolder::RemoveBeforeEnd();
    // A shell sees that we were ended by the signal, as it would without the child.
    std::signal(status - 128, SIG_DFL);
    std::raise(status - 128);
  }
  sigprocmask(SIG_SETMASK, &before, nullptr);
  return status;
}

}  // namespace gl3
