// Which files a process may open, held by the kernel's Landlock. The C library has no functions for
// its three calls.
#include "hostkit/confine/landlock.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <linux/landlock.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

namespace hostkit {
namespace {

// Rights that are newer than the headers of Linux 6.1.
constexpr std::uint64_t kTruncate = 1ull << 14, kIoctlOfDevices = 1ull << 15;

enum class Grant { kNever, kToReaders, kToWriters };

struct Right {
  std::uint64_t bit;
  int since;     ///< The first version that knows it.
  bool ofFiles;  ///< Also of what is no folder.
  Grant grant;
};

constexpr Right kRights[] = {
    {LANDLOCK_ACCESS_FS_EXECUTE, 1, true, Grant::kNever},
    {LANDLOCK_ACCESS_FS_READ_FILE, 1, true, Grant::kToReaders},
    {LANDLOCK_ACCESS_FS_READ_DIR, 1, false, Grant::kToReaders},
    {LANDLOCK_ACCESS_FS_WRITE_FILE, 1, true, Grant::kToWriters},
    {LANDLOCK_ACCESS_FS_REMOVE_DIR, 1, false, Grant::kToWriters},
    {LANDLOCK_ACCESS_FS_REMOVE_FILE, 1, false, Grant::kToWriters},
    {LANDLOCK_ACCESS_FS_MAKE_DIR, 1, false, Grant::kToWriters},
    {LANDLOCK_ACCESS_FS_MAKE_REG, 1, false, Grant::kToWriters},
    {LANDLOCK_ACCESS_FS_MAKE_CHAR, 1, false, Grant::kNever},
    {LANDLOCK_ACCESS_FS_MAKE_BLOCK, 1, false, Grant::kNever},
    {LANDLOCK_ACCESS_FS_MAKE_FIFO, 1, false, Grant::kNever},
    {LANDLOCK_ACCESS_FS_MAKE_SOCK, 1, false, Grant::kNever},
    {LANDLOCK_ACCESS_FS_MAKE_SYM, 1, false, Grant::kNever},
    // From one folder to another; before that nobody may.
    {LANDLOCK_ACCESS_FS_REFER, 2, false, Grant::kToWriters},
    {kTruncate, 3, true, Grant::kToWriters},
    {kIoctlOfDevices, 5, true, Grant::kToWriters},
};

/// What the kernel is to hold back from all who are not granted it.
std::uint64_t HandledRights(int version, bool readsEverything) {
  std::uint64_t rights = 0;
  for (const Right& right : kRights) {
    const bool free = readsEverything && right.grant == Grant::kToReaders;
    if (right.since <= version && !free) rights |= right.bit;
  }
  return rights;
}

std::uint64_t GrantedRights(bool toWriters, bool isFolder) {
  std::uint64_t rights = 0;
  for (const Right& right : kRights) {
    const bool granted =
        right.grant == Grant::kToReaders || (toWriters && right.grant == Grant::kToWriters);
    if (granted && (isFolder || right.ofFiles)) rights |= right.bit;
  }
  return rights;
}

/// Grants rights to what is open as `place`, and what lies below it. 0, or the reason it cannot be.
int AddRule(int rules, std::uint64_t handled, int place, bool toWriters) {
  struct stat status = {};
  if (fstat(place, &status) != 0) return errno;
  landlock_path_beneath_attr rule = {};
  rule.allowed_access = GrantedRights(toWriters, S_ISDIR(status.st_mode)) & handled;
  rule.parent_fd = place;
  if (rule.allowed_access == 0) return 0;
  const long result = syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
  return result == 0 ? 0 : errno;
}

/// False with errno when rights to `path` cannot be granted. What is not there is left out; pipes
/// and files without a name (EBADFD) are open to whoever has them.
bool Allow(int rules, std::uint64_t handled, const std::string& path, bool toWriters) {
  const int place = open(path.c_str(), O_PATH | O_CLOEXEC);
  if (place < 0) return errno != EMFILE && errno != ENFILE;
  const int reason = AddRule(rules, handled, place, toWriters);
  close(place);
  errno = reason;
  return reason == 0 || reason == EBADFD;
}

bool Restrict(int rules, std::uint64_t handled, const Confinement& confinement) {
  for (const std::string& path : confinement.readable) {
    if (!Allow(rules, handled, path, false)) return false;
  }
  for (const std::string& path : confinement.writable) {
    if (!Allow(rules, handled, path, true)) return false;
  }
  return syscall(SYS_landlock_restrict_self, rules, 0) == 0;
}

std::string NoLandlock(int reason) {
  std::string why;
  if (reason == ENOSYS) {
    why = "the kernel has no Landlock (Linux 5.13 and later can have it)";
  } else if (reason == EOPNOTSUPP) {
    why = "Landlock is switched off (see the kernel's option lsm=)";
  } else {
    why = fmt::format("Landlock cannot be used ({})", std::strerror(reason));
  }
  return fmt::format("files: {}, so a confined process can open all that its user may", why);
}

}  // namespace

int LandlockVersion() {
  const long version =
      syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
  return version > 0 ? static_cast<int>(version) : 0;
}

std::string RestrictFiles(const Confinement& confinement) {
  const int version = LandlockVersion();
  if (version == 0) return NoLandlock(errno);
  landlock_ruleset_attr attributes = {};
  attributes.handled_access_fs = HandledRights(version, confinement.readsEverything);
  const long rules = syscall(SYS_landlock_create_ruleset, &attributes, sizeof attributes, 0);
  if (rules < 0) return NoLandlock(errno);
  const int descriptor = static_cast<int>(rules);
  const bool good = Restrict(descriptor, attributes.handled_access_fs, confinement);
  const int reason = errno;
  close(descriptor);
  return good ? "" : NoLandlock(reason);
}

std::string FilesSupport() {
  return LandlockVersion() > 0 ? "" : NoLandlock(errno);
}

}  // namespace hostkit
