// Child processes with what they cost.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "bench/support/harness.h"

namespace bench {

/// What one run of a program took.
struct ProcessCost {
  Figure time;           ///< From before the start to after the end; processor time of all of it.
  double megabytes = 0;  ///< Peak memory of the largest process in it.
};

/// Runs a program, of PATH when it has no slash, without output and waits for it. Throws
/// std::runtime_error when it cannot be started or ends with another status than 0. The peak counts
/// this process's own memory at the start too, so that must be small.
ProcessCost RunProcess(const std::vector<std::string>& command);

/// A program without output that runs until it is told to end, at the latest with this object.
class RunningProgram {
 public:
  /// Throws std::runtime_error when it cannot be started.
  explicit RunningProgram(const std::vector<std::string>& command);
  ~RunningProgram() { End(); }
  RunningProgram(const RunningProgram&) = delete;
  RunningProgram& operator=(const RunningProgram&) = delete;

  /// Whether it ended by itself.
  bool HasEnded() const;
  /// Processor milliseconds so far, without those of its children.
  double CpuMilliseconds() const;
  /// Asks it to end and waits until it has. Processor milliseconds in all, also of the children
  /// that it waited for; 0 when it had been ended before.
  double End();

 private:
  pid_t m_process;
};

/// A new folder that goes with this object, and all that is in it.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  std::string File(const std::string& name) const { return m_path + "/" + name; }

 private:
  std::string m_path;
};

/// The folder of the running program.
std::string ProgramFolder();

}  // namespace bench
