// A file that appears whole or not at all.
#include "hostkit/services/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

namespace hostkit {

namespace fs = std::filesystem;

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
  struct stat target {};
  // An open file without a name, by its place in /proc: its link leads nowhere.
  if (stat(path.c_str(), &target) == 0 && S_ISREG(target.st_mode) && target.st_nlink == 0) {
    m_file = std::fopen(path.c_str(), "we");
    return m_file != nullptr;
  }
  m_path = FollowLinks(path);
  const bool exists = stat(m_path.c_str(), &target) == 0;
  if (exists && S_ISDIR(target.st_mode)) {
    errno = EISDIR;
    return false;
  }
  if (exists && !S_ISREG(target.st_mode)) {
    m_file = std::fopen(m_path.c_str(), "we");
    return m_file != nullptr;
  }
  // A file that its owner has closed to writing stays as it is, though its folder is open.
  if (exists && faccessat(AT_FDCWD, m_path.c_str(), W_OK, AT_EACCESS) != 0) return false;
  if (!OpenTemporary(tempName)) return false;
  if (!exists) return true;
  // Permissions first: a change of owner may be forbidden, and then the file becomes the writer's.
  if (fchmod(fileno(m_file), target.st_mode & 07777) != 0 ||
      (target.st_uid != geteuid() && fchown(fileno(m_file), target.st_uid, target.st_gid) != 0 &&
       errno != EPERM)) {
    const int reason = errno;
    Discard();
    errno = reason;
    return false;
  }
  return true;
}

bool AtomicFile::OpenTemporary(TempName tempName) {
  static std::atomic<unsigned> counter{0};
  constexpr int kMaxTries = 100;
  for (int i = 0; i < kMaxTries; ++i) {
    m_tempPath = m_path + ".tmp";
    if (tempName == TempName::kFixed) {
      unlink(m_tempPath.c_str());
    } else {
      m_tempPath += std::to_string(getpid()) + "-" + std::to_string(counter++);
    }
    const int file = open(m_tempPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0 && errno == EEXIST) continue;
    if (file >= 0) m_file = fdopen(file, "w");
    if (file >= 0 && !m_file) {
      close(file);
      unlink(m_tempPath.c_str());
    }
    break;
  }
  if (!m_file) m_tempPath.clear();
  return m_file != nullptr;
}

void AtomicFile::Write(std::string_view text) {
  // A failure stays in the stream, where Commit finds it.
  if (m_file) std::fwrite(text.data(), 1, text.size(), m_file);
}

bool AtomicFile::Commit() {
  if (!m_file) {
    errno = EBADF;
    return false;
  }
  errno = 0;
  bool good = std::fflush(m_file) == 0 && !std::ferror(m_file);
  if (good && !m_tempPath.empty()) good = fsync(fileno(m_file)) == 0;
  good = std::fclose(std::exchange(m_file, nullptr)) == 0 && good;
  if (good && !m_tempPath.empty()) {
    good = std::rename(m_tempPath.c_str(), m_path.c_str()) == 0;
    if (good) m_tempPath.clear();
  }
  const int reason = errno ? errno : EIO;
  Discard();
  if (!good) errno = reason;
  return good;
}

void AtomicFile::Discard() {
  if (m_file) std::fclose(std::exchange(m_file, nullptr));
  if (!m_tempPath.empty()) unlink(std::exchange(m_tempPath, {}).c_str());
}

}  // namespace hostkit
