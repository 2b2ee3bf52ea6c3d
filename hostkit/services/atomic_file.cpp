// A file that appears whole or not at all.
#include "hostkit/services/atomic_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <system_error>
#include <utility>

namespace hostkit {
namespace {

namespace fs = std::filesystem;

/// The file in `folder` has no name yet. -1 where there are no such files, or where they could not
/// be named later.
int OpenNameless(const fs::path& folder, mode_t permissions) {
  if (access("/proc/self/fd", X_OK) != 0) return -1;
  return open(folder.empty() ? "." : folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, permissions);
}

std::string TempPath(const std::string& path, AtomicFile::TempName name) {
  static std::atomic<unsigned> counter{0};
  if (name == AtomicFile::TempName::kFixed) return path + ".tmp";
  const std::string unique =
      ".gl3-" + std::to_string(getpid()) + "-" + std::to_string(counter++) + ".part";
  return (fs::path(path).parent_path() / unique).string();
}

}  // namespace

std::string FollowLinks(const std::string& path) {
  constexpr int kMaxLinks = 40;  // as many as the system follows
  fs::path place = path;
  for (int i = 0; i < kMaxLinks; ++i) {
    std::error_code error;
    const fs::path target = fs::read_symlink(place, error);
    if (error) break;
    place = place.parent_path() / target;  // an absolute target stands alone
  }
  return place.string();
}

bool AtomicFile::Open(const std::string& path, TempName tempName) {
  Discard();
  m_tempName = tempName;
  struct stat target {};
  const bool exists = stat(path.c_str(), &target) == 0;
  if (!exists && errno != ENOENT) return false;
  if (exists && S_ISDIR(target.st_mode)) {
    errno = EISDIR;
    return false;
  }
  // A file that its owner has closed to writing stays as it is, though its folder is open.
  if (exists && faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0) return false;
  // Pipes and deleted files that are open already have paths in /proc, whose links lead nowhere.
  m_isDevice = exists && (!S_ISREG(target.st_mode) || target.st_nlink == 0);
  m_path = m_isDevice ? path : FollowLinks(path);
  // Never more than the target's, which confined processes cannot take away again.
  if (OpenTemporary(exists ? target.st_mode & 0777 : 0666) &&
      (!exists || m_isDevice || KeepPermissions(target)))
    return true;
  const int reason = errno;
  Discard();
  errno = reason;
  return false;
}

bool AtomicFile::OpenTemporary(mode_t permissions) {
  int file = m_isDevice ? memfd_create("gl3", MFD_CLOEXEC)
                        : OpenNameless(fs::path(m_path).parent_path(), permissions);
  const auto create = [&file, permissions](const char* name) {
    file = open(name, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, permissions);
    return file >= 0;
  };
  if (file < 0 && (m_isDevice || !TakeTempName(create))) return false;
  m_file = fdopen(file, "w+");
  if (!m_file) close(file);
  return m_file != nullptr;
}

/// Looks for a name that `take` can give to the temporary file; false with errno when there is
/// none.
bool AtomicFile::TakeTempName(const std::function<bool(const char*)>& take) {
  constexpr int kMaxTries = 10000;  // files that killed processes of the same id left
  for (int i = 0; i < kMaxTries; ++i) {
    m_tempPath = TempPath(m_path, m_tempName);
    if (m_tempName == TempName::kFixed) unlink(m_tempPath.c_str());
    if (take(m_tempPath.c_str())) return true;
    if (errno != EEXIST) break;
  }
  m_tempPath.clear();
  return false;
}

bool AtomicFile::KeepPermissions(const struct stat& target) {
  const int file = fileno(m_file);
  struct stat own = {};
  if (fstat(file, &own) != 0) return false;
  // Permissions first: a change of owner or group may be forbidden, or impossible in a container,
  // and then the file becomes the writer's. In a confined process both are; mostly neither is due.
  const bool samePermissions = ((own.st_mode ^ target.st_mode) & 07777) == 0;
  if (!samePermissions && fchmod(file, target.st_mode & 07777) != 0 && errno != EPERM) return false;
  if (own.st_uid == target.st_uid && own.st_gid == target.st_gid) return true;
  return fchown(file, target.st_uid, target.st_gid) == 0 || errno == EPERM || errno == EINVAL;
}

void AtomicFile::Write(std::string_view text) {
  // A failure stays in the stream, where Commit finds it.
  if (m_file) std::fwrite(text.data(), 1, text.size(), m_file);
}

bool AtomicFile::Commit(Sync sync) {
  if (!m_file) {
    errno = EBADF;
    return false;
  }
  errno = 0;
  bool good = std::fflush(m_file) == 0 && !std::ferror(m_file);
  good = good && (m_isDevice ? CopyToDevice() : PutInPlace(sync));
  const int reason = errno ? errno : EIO;
  Discard();
  if (!good) errno = reason;
  return good;
}

bool AtomicFile::PutInPlace(Sync sync) {
  if (sync == Sync::kDisk && fsync(fileno(m_file)) != 0) return false;
  const std::string nameless = "/proc/self/fd/" + std::to_string(fileno(m_file));
  const auto link = [&nameless](const char* name) {
    return linkat(AT_FDCWD, nameless.c_str(), AT_FDCWD, name, AT_SYMLINK_FOLLOW) == 0;
  };
  if (m_tempPath.empty() && !TakeTempName(link)) return false;
  if (std::fclose(std::exchange(m_file, nullptr)) != 0) return false;  // a full network disk, say
  if (std::rename(m_tempPath.c_str(), m_path.c_str()) != 0) return false;
  m_tempPath.clear();
  return true;
}

bool AtomicFile::CopyToDevice() {
  std::FILE* device = std::fopen(m_path.c_str(), "we");
  if (!device) return false;
  std::rewind(m_file);
  std::array<char, 1 << 15> block;
  std::size_t count = 0;
  bool good = true;
  while (good && (count = std::fread(block.data(), 1, block.size(), m_file)) > 0) {
    good = std::fwrite(block.data(), 1, count, device) == count;
  }
  good = good && !std::ferror(m_file);
  const int reason = errno;
  const bool closed = std::fclose(device) == 0;
  if (!good) errno = reason;
  return good && closed;
}

void AtomicFile::Discard() {
  if (m_file) std::fclose(std::exchange(m_file, nullptr));
  if (!m_tempPath.empty()) unlink(std::exchange(m_tempPath, {}).c_str());
}

}  // namespace hostkit
