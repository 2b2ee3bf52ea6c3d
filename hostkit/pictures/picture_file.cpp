// Output files of pictures, with words for what goes wrong.
#include "hostkit/pictures/picture_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace hostkit {
namespace {

/// Why nothing new can be made in a folder.
std::string FolderErrorText(int code, const std::string& folder) {
  switch (code) {
    case ENOENT: {
      // /proc and such are there, and answer so all the same.
      std::error_code error;
      return std::filesystem::is_directory(folder, error)
                 ? fmt::format("in the folder '{}' no files can be made; choose another", folder)
                 : fmt::format("the folder '{}' does not exist; create it first", folder);
    }
    case ENOTDIR:
      return fmt::format("'{}' is not a folder; choose another place", folder);
    case EACCES:
    case EPERM:
    case EROFS:
      return fmt::format(
          "the folder '{}' is not writable; change its permissions or choose another", folder);
    default:
      return WriteErrorText(code);
  }
}

std::string OpenErrorText(int code, const std::string& path) {
  if (code == EISDIR) return "it is a folder; name a file in it";
  if (code == ELOOP) return "its links form a circle; remove them";
  struct stat status {};
  const bool exists = stat(path.c_str(), &status) == 0;
  if (exists && faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0) {
    return "the file is write-protected; change its permissions or choose another name";
  }
  if (exists && !S_ISREG(status.st_mode)) return WriteErrorText(code);
  const auto folder = std::filesystem::path(FollowLinks(path)).parent_path();
  return FolderErrorText(code, folder.empty() ? "." : folder.string());
}

}  // namespace

std::string WriteErrorText(int code) {
  if (code == ENOSPC || code == EDQUOT) {
    return "the disk is full; free some space or choose another disk";
  }
  if (code == EFBIG) return "the file gets larger than allowed; raise the limit (ulimit -f)";
  return fmt::format("{}; choose another place", std::strerror(code ? code : EIO));
}

bool PictureFile::Open(const std::string& path, std::string* reason) {
  if (m_file.Open(path, AtomicFile::TempName::kUnique)) return true;
  *reason = OpenErrorText(errno, path);
  return false;
}

bool PictureFile::Commit(std::string* reason) {
  if (m_file.Commit(AtomicFile::Sync::kNothing)) return true;
  *reason = WriteErrorText(errno);
  return false;
}

}  // namespace hostkit
