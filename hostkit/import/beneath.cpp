// Opening files below a folder, whatever their names say and wherever links lead.
#include "hostkit/import/beneath.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <strings.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <memory>

namespace hostkit {
namespace {

/// The kernel gives up with EAGAIN where folders are renamed meanwhile.
constexpr int kMostTries = 16;

bool IsLink(int folder, const std::string& name) {
  struct stat status {};
  return fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
         S_ISLNK(status.st_mode);
}

/// Opens one name in a folder, which must be no link.
FileDescriptor OpenPart(int folder, const std::string& name, int flags) {
  FileDescriptor part(openat(folder, name.c_str(), flags | O_NOFOLLOW | O_CLOEXEC));
  const int code = errno;
  // With O_PATH a link itself is opened; with O_DIRECTORY it counts as no folder.
  if (!IsLink(folder, name)) {
    errno = code;
    return part;
  }
  errno = EXDEV;
  return {};
}

}  // namespace

FileDescriptor::~FileDescriptor() {
  if (m_descriptor >= 0) close(m_descriptor);
}

FileDescriptor OpenBeneathByParts(int folder, const std::string& path, int flags) {
  FileDescriptor at;
  std::size_t begin = 0;
  for (std::size_t end = path.find('/'); end != std::string::npos; end = path.find('/', begin)) {
    const std::string part = path.substr(begin, end - begin);
    at = OpenPart(at.IsOpen() ? at.Get() : folder, part, O_PATH | O_DIRECTORY);
    if (!at.IsOpen()) return {};
    begin = end + 1;
  }
  return OpenPart(at.IsOpen() ? at.Get() : folder, path.substr(begin), flags);
}

FileDescriptor OpenBeneath(int folder, const std::string& path, int flags) {
  open_how how = {};
  how.flags = static_cast<unsigned>(flags | O_CLOEXEC);
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
  for (int i = 0; i < kMostTries; ++i) {
    const long opened = syscall(SYS_openat2, folder, path.c_str(), &how, sizeof how);
    if (opened >= 0) return FileDescriptor(static_cast<int>(opened));
    if (errno != EAGAIN && errno != EINTR) break;
  }
  if (errno != ENOSYS && errno != EPERM) return {};
  return OpenBeneathByParts(folder, path, flags);
}

std::string EntryWithoutCase(int folder, const std::string& path, const std::string& name) {
  FileDescriptor opened =
      OpenBeneath(folder, path.empty() ? "." : path, O_RDONLY | O_DIRECTORY | O_NONBLOCK);
  if (!opened.IsOpen()) return {};
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(fdopendir(opened.Get()), closedir);
  if (!entries) return {};
  opened.Release();  // closed with the entries
  while (const dirent* entry = readdir(entries.get())) {
    if (strcasecmp(entry->d_name, name.c_str()) == 0) return entry->d_name;
  }
  return {};
}

}  // namespace hostkit
