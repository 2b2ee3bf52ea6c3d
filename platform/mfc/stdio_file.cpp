// Files that several programs write to in turn.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>

#include "platform/mfc_files.h"

namespace {

// For a file that somebody else has.
constexpr std::chrono::milliseconds kLongestWait{2000};
constexpr std::chrono::milliseconds kBetweenTries{1};

/// Takes the file for this opening alone. False when somebody else has kept it for too long; true
/// also where the file system has no locks.
bool LockFile(int file) {
  const auto end = std::chrono::steady_clock::now() + kLongestWait;
  while (flock(file, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EINTR) continue;
    if (errno != EWOULDBLOCK) return true;
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(kBetweenTries);
  }
  return true;
}

}  // namespace

CStdioFile::~CStdioFile() {
  Close();
}

BOOL CStdioFile::Open(const char* path, unsigned int flags) {
  if (m_file >= 0 || !path) return 0;
  const int mode = O_WRONLY | O_CLOEXEC | ((flags & kModeCreate) != 0 ? O_CREAT : 0);
  m_file = open(path, mode, 0666);
  if (m_file < 0) return 0;
  // Emptied under the lock only, or another writer's line could go with it.
  const bool mine = (flags & kShareExclusive) == 0 || LockFile(m_file);
  const bool empties = (flags & kModeCreate) != 0 && (flags & kModeNoTruncate) == 0;
  if (mine && (!empties || ftruncate(m_file, 0) == 0)) return 1;
  Close();
  return 0;
}

void CStdioFile::SeekToEnd() {
  if (m_file >= 0) lseek(m_file, 0, SEEK_END);
}

BOOL CStdioFile::Write(const void* bytes, std::size_t count) {
  const auto* from = static_cast<const char*>(bytes);
  while (m_file >= 0 && count > 0) {
    const ssize_t written = write(m_file, from, count);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return 0;
    from += written;
    count -= static_cast<std::size_t>(written);
  }
  return m_file >= 0;
}

void CStdioFile::Close() {
  if (m_file >= 0) close(m_file);
  m_file = -1;
}
