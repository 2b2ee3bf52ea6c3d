// The steps of confining a process: each leaves those after it possible.
#include "hostkit/confine/confine.h"

#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <climits>

#include "hostkit/confine/calls.h"
#include "hostkit/confine/landlock.h"

namespace hostkit {
namespace {

void CloseRange(unsigned first, unsigned last) {
  if (first > last || close_range(first, last, 0) == 0) return;
  // Before Linux 5.9, and in containers that do not know the call.
  const long limit = sysconf(_SC_OPEN_MAX);
  for (long i = first; i <= last && i < limit; ++i) close(static_cast<int>(i));
}

void CloseOthers(std::vector<int> keep) {
  keep.insert(keep.end(), {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO});
  std::sort(keep.begin(), keep.end());
  unsigned next = 0;
  for (const int descriptor : keep) {
    if (descriptor < 0) continue;
    const unsigned kept = static_cast<unsigned>(descriptor);
    if (kept > next) CloseRange(next, kept - 1);
    next = kept + 1;
  }
  CloseRange(next, UINT_MAX);
}

/// `grace` lies between the limit that can be told by a signal and the one that ends the process.
void Lower(decltype(RLIMIT_CPU) resource, std::uint64_t value, std::uint64_t grace = 0) {
  rlimit limit = {};
  if (value == 0 || getrlimit(resource, &limit) != 0) return;
  limit.rlim_cur = std::min<rlim_t>(limit.rlim_cur, value);
  limit.rlim_max = std::min<rlim_t>(limit.rlim_max, value + grace);
  setrlimit(resource, &limit);
}

}  // namespace

ConfineResult Confine(const Confinement& confinement) {
  ConfineResult missing;
  if (confinement.closeOthers) CloseOthers(confinement.keep);
  // Without it neither of the two below is for ordinary users; and no program gains rights.
  prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  missing.files = RestrictFiles(confinement);
  // Landlock's rules need descriptors, and the filter of calls forbids setting limits.
  Lower(RLIMIT_CPU, confinement.processorSeconds, 1);
  Lower(RLIMIT_FSIZE, confinement.fileSize);
  Lower(RLIMIT_NOFILE, confinement.files);
  missing.calls = RestrictCalls(confinement.sockets);
  return missing;
}

ConfineResult ConfinementSupport() {
  return {FilesSupport(), CallsSupport()};
}

}  // namespace hostkit
