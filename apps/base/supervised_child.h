// Work that may crash, hang or swallow the memory, done in a child process.
//
// Importers of foreign formats and OpenGL drivers are code that we do not control. The program
// forks before it has threads or OpenGL; the child works, and tells through a pipe what it is at
// and what it has to say; the parent prints, keeps the limits, and turns a crash into one line and
// an exit status.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "apps/base/messages.h"

namespace gl3 {

struct Limits {
  /// Longest time to the end, or to the next picture of several; 0: none.
  double timeoutSeconds = 600;
  /// Memory of the child's own in bytes; 0: none.
  std::uint64_t maxMemory = DefaultMaxMemory();

  /// Three quarters of the machine's memory, or of the control group's limit where that is less.
  static std::uint64_t DefaultMaxMemory();
};

/// What the child is at. It decides what a crash means.
/// kSend: to another program, so that there are no files of single pictures.
enum class Phase { kStart, kImport, kDraw, kWrite, kSend };

/// The child's line to its parent.
class ParentLine {
 public:
  explicit ParentLine(int descriptor) : m_descriptor(descriptor) {}
  /// A phase begins; `subject` is the file that it is about, or "OpenGL".
  void Enter(Phase phase, const std::string& subject);
  /// Those that follow on one another are told by kind: see WarningDigest.
  void Warn(const std::string& text) { Send('W', text); }
  void Note(const std::string& text) { Send('N', text); }
  /// Of `total` pictures `done` are there, and `next` (such as "frame 7") is begun, or nothing more
  /// when it is empty. Starts the time limit anew. Not to be called for one picture alone.
  void Progress(std::size_t done, std::size_t total, const std::string& next);
  /// Part of the work failed, and the rest goes on.
  void Fail(const std::string& text) { Send('E', text); }
  /// A piece for whoever started the work: see ChildTold.
  void Tell(const std::string& text) { Send('T', text); }
  /// What it writes to, for whoever closes all others.
  int Descriptor() const { return m_descriptor; }
  /// The work is over, well or not; `result` goes to standard output.
  void Finish(const Outcome& outcome, const std::string& result);

 private:
  void Send(char kind, const std::string& text);

  int m_descriptor;
};

/// Work for a child. It reports through the line, returns how it ended, and leaves in `*result`
/// what standard output shall get.
using SupervisedWork = std::function<Outcome(ParentLine& line, std::string* result)>;

/// What a child told to whoever started it.
struct ChildTold {
  std::vector<std::string> parts;  ///< Of ParentLine::Tell, in order; those before a crash count.
  std::string result;              ///< In place of standard output.
  std::string error;               ///< The last error that was printed for it.
};

/// Runs `work` in a child and returns the exit status, after messages. `output` is the file that
/// the child writes, unless it says another when it enters Phase::kWrite; nothing unfinished stays
/// behind of it. When work on files that reported progress does not come to its end, a line tells
/// how much there is and how to go on. A signal that asks the program to end ends the child, and
/// then the program by that signal. With `told`, what the child tells and its result go there, and
/// a caller whose child died over a picture is taken to go on by itself. Call with one thread
/// alone.
int RunSupervised(const Limits& limits, const std::string& output, const SupervisedWork& work,
                  ChildTold* told = nullptr);

}  // namespace gl3
