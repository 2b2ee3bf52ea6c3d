// Output files that appear whole or not at all.
#include "hostkit/scene/picture_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <vector>

namespace hostkit {
namespace {

namespace fs = std::filesystem;

constexpr int kMaxLinks = 40;         // as the kernel
constexpr int kMaxNameTries = 10000;  // left-over temporary files of one process id
constexpr std::size_t kBufferSize = 1 << 18;

// The path with links resolved, also those that point to nothing yet. Empty for a circle.
fs::path FollowLinks(fs::path path) {
  std::error_code code;
  for (int i = 0; i < kMaxLinks; ++i) {
    fs::path next = fs::read_symlink(path, code);
    if (code) return path;  // no link
    path = next.is_absolute() ? next : path.parent_path() / next;
  }
  return {};
}

fs::path TemporaryName(const fs::path& folder) {
  static std::atomic<unsigned> counter{0};
  return folder / fmt::format(".gl3-{}-{}.part", ::getpid(), counter++);
}

// A file that has no name in its folder yet, and so goes with its process however that ends. -1
// where the file system has none, or where it could not be named later.
int OpenNameless(const fs::path& folder) {
  if (::access("/proc/self/fd", X_OK) != 0) return -1;
  return ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666);
}

std::string FolderErrorText(int code, const fs::path& folder) {
  std::string name = folder.string();
  switch (code) {
    case ENOENT:
      return fmt::format("the folder '{}' does not exist; create it first", name);
    case ENOTDIR:
      return fmt::format("'{}' is not a folder; choose another place", name);
    case EACCES:
    case EPERM:
    case EROFS:
      return fmt::format(
          "the folder '{}' is not writable; change its permissions or choose another", name);
    default:
      return WriteErrorText(code);
  }
}

}  // namespace

std::string WriteErrorText(int code) {
  if (code == ENOSPC || code == EDQUOT) {
    return "the disk is full; free some space or choose another disk";
  }
  if (code == EFBIG) return "the file gets larger than allowed; raise the limit (ulimit -f)";
  return fmt::format("{}; choose another place", std::strerror(code ? code : EIO));
}

PictureFile::~PictureFile() {
  if (m_stream) std::fclose(m_stream);
  if (!m_temporary.empty()) ::unlink(m_temporary.c_str());
}

bool PictureFile::Open(const std::string& path, std::string* reason) {
  m_target = FollowLinks(path);
  if (m_target.empty()) {
    *reason = "its links form a circle; remove them";
    return false;
  }
  struct stat status;
  if (::stat(m_target.c_str(), &status) != 0) return OpenTemporary(reason);
  if (S_ISDIR(status.st_mode)) {
    *reason = "it is a folder; name a file in it";
    return false;
  }
  if (::access(m_target.c_str(), W_OK) != 0) {
    *reason = "the file is write-protected; change its permissions or choose another name";
    return false;
  }
  if (S_ISREG(status.st_mode)) return OpenTemporary(reason);
  m_isDevice = true;
  m_stream = std::tmpfile();
  if (!m_stream) *reason = WriteErrorText(errno);
  return m_stream != nullptr;
}

bool PictureFile::OpenTemporary(std::string* reason) {
  const fs::path folder = m_target.parent_path().empty() ? fs::path(".") : m_target.parent_path();
  int file = OpenNameless(folder);
  if (file < 0) file = OpenNamed(folder);
  if (file < 0) {
    *reason = FolderErrorText(errno, folder);
    return false;
  }
  m_stream = ::fdopen(file, "w+b");
  if (!m_stream) {
    *reason = WriteErrorText(errno);
    ::close(file);
    return false;
  }
  std::setvbuf(m_stream, nullptr, _IOFBF, kBufferSize);
  return true;
}

int PictureFile::OpenNamed(const fs::path& folder) {
  int file = -1;
  for (int i = 0; i < kMaxNameTries && file < 0; ++i) {
    m_temporary = TemporaryName(folder);
    file = ::open(m_temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0 && errno != EEXIST) break;
  }
  if (file < 0) m_temporary.clear();
  return file;
}

bool PictureFile::NameIt() {
  const std::string file = fmt::format("/proc/self/fd/{}", ::fileno(m_stream));
  for (int i = 0; i < kMaxNameTries; ++i) {
    m_temporary = TemporaryName(m_target.parent_path());
    if (::linkat(AT_FDCWD, file.c_str(), AT_FDCWD, m_temporary.c_str(), AT_SYMLINK_FOLLOW) == 0) {
      return true;
    }
    if (errno != EEXIST) break;
  }
  m_temporary.clear();
  return false;
}

bool PictureFile::Commit(std::string* reason) {
  errno = 0;
  if (std::fflush(m_stream) != 0 || std::ferror(m_stream)) {
    *reason = WriteErrorText(errno);
    return false;
  }
  if (m_isDevice) return CopyToDevice(reason);
  if (m_temporary.empty() && !NameIt()) {
    *reason = WriteErrorText(errno);
    return false;
  }
  int closed = std::fclose(m_stream);  // a full network disk may show here only
  m_stream = nullptr;
  if (closed != 0 || ::rename(m_temporary.c_str(), m_target.c_str()) != 0) {
    *reason = WriteErrorText(errno);
    return false;
  }
  m_temporary.clear();
  return true;
}

bool PictureFile::CopyToDevice(std::string* reason) {
  std::FILE* device = std::fopen(m_target.c_str(), "wb");
  if (!device) {
    *reason = WriteErrorText(errno);
    return false;
  }
  std::rewind(m_stream);
  std::vector<char> block(kBufferSize);
  bool good = true;
  std::size_t count = 0;
  while (good && (count = std::fread(block.data(), 1, block.size(), m_stream)) > 0) {
    good = std::fwrite(block.data(), 1, count, device) == count;
  }
  int code = errno;
  if (std::fclose(device) != 0 && good) {
    good = false;
    code = errno;
  }
  if (!good) *reason = WriteErrorText(code);
  return good;
}

}  // namespace hostkit
