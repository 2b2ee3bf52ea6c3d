// A process that gives up for good what its work does not need, before it reads the files of
// strangers: whoever takes it over finds nothing to take.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace hostkit {

/// What a process keeps, and how much it may use up.
struct Confinement {
  /// Files and folders with all below them that may be read. What is not there is left out, here
  /// and among the writable ones. Links count as what they lead to.
  std::vector<std::string> readable;
  /// Likewise; what is here may be read, written, made, renamed and removed, and devices take
  /// ioctl. Links, pipes, sockets and devices cannot be made anywhere.
  std::vector<std::string> writable;
  /// Only writing is limited.
  bool readsEverything = false;
  /// What asking for a socket comes to.
  enum class Sockets {
    kEnd,     ///< The end of the process: whoever has no use for them does not ask.
    kRefuse,  ///< EPERM, for libraries that do without.
    /// Local ones may be connected to, for an X server, and memory shared with it; others are
    /// refused. Whoever listens on one decides what he does for this process, so it is for
    /// programs alone that need it.
    kLocal,
  };
  Sockets sockets = Sockets::kEnd;
  /// Limits; 0: as they are. None is ever raised. Beyond the first the process gets SIGXCPU, and
  /// SIGKILL a second later; beyond the second SIGXFSZ, and files without a name (memfd_create)
  /// count as well. `files` is one more than the highest descriptor.
  std::uint64_t processorSeconds = 0, fileSize = 0, files = 0;
  /// Descriptors besides 0, 1 and 2 that stay open; only with closeOthers.
  std::vector<int> keep;
  bool closeOthers = false;
};

/// What could not be had, and what that means: one line each, empty for what could.
struct ConfineResult {
  std::string files;  ///< Without it all may be opened that the user may open.
  std::string calls;  ///< Without it all may be asked of the kernel that the user may ask.
};

/// Confines the calling process for good, with the threads that it starts later. Call with one
/// thread: others would keep access to files. What the kernel lacks is no error; the rest is done.
///
/// Afterwards there are no other programs, processes, namespaces or mounts, no looking into or
/// signalling of other processes, no sockets but those of `sockets`, no change of permissions,
/// owners or times of files, and no raising of limits. What nobody but an attacker asks for ends
/// the process with SIGSYS, all else answers EPERM, and files answer EACCES. Memory, threads,
/// signals to itself, and whatever open descriptors allow stay. So do questions for names, sizes
/// and dates of files (stat).
///
/// Libraries that are loaded late (OpenGL drivers, converters of iconv, libgcc_s for the end of
/// threads) must be readable, or loaded before. Under AddressSanitizer the search for leaks cannot
/// start its tracing process: leave with _exit, or switch it off. Its reports have function names
/// only where /proc/self and the binaries are readable.
ConfineResult Confine(const Confinement& confinement);

/// What Confine could not have here. Asks the kernel and changes nothing.
ConfineResult ConfinementSupport();

}  // namespace hostkit
