// A file that appears whole or not at all.
#pragma once

#include <sys/stat.h>

#include <cstdio>
#include <functional>
#include <string>
#include <string_view>

namespace hostkit {

/// Writes to a temporary file in the target's folder that takes the target's name in Commit; until
/// then the target stays as it is, and without Commit nothing is left behind. The temporary file
/// has no name of its own, and so goes with its process however that ends; where the file system
/// knows only named files, a killed process leaves it. A symbolic link keeps pointing where it
/// does: the file behind it is replaced. The target's permissions are kept, as far as the umask
/// leaves them where none may be changed. A target that is no
/// regular file (a pipe, a terminal, /dev/null), or has no name in any folder, gets the finished
/// bytes in Commit, and they are kept in memory until then.
class AtomicFile {
 public:
  /// How the temporary file is called while it has a name.
  enum class TempName {
    kUnique,  ///< .gl3-PID-N.part: any number of writers may be at it at once.
    kFixed,   ///< The target's and .tmp: the caller holds a lock, and writes over what is left.
  };
  /// What Commit waits for.
  enum class Sync { kDisk, kNothing };

  AtomicFile() = default;
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;
  ~AtomicFile() { Discard(); }

  /// Starts writing. Returns false when that cannot be, with errno telling why.
  bool Open(const std::string& path, TempName tempName);
  /// The stream to write to; it can seek. Null while nothing is being written.
  std::FILE* Stream() const { return m_file; }
  void Write(std::string_view text);
  /// Puts the file in place and ends writing. Returns false when something could not be written,
  /// with errno telling why; a regular target is then as it was.
  bool Commit(Sync sync = Sync::kDisk);

 private:
  bool OpenTemporary(mode_t permissions);
  bool TakeTempName(const std::function<bool(const char*)>& take);
  bool KeepPermissions(const struct stat& target);
  bool PutInPlace(Sync sync);
  bool CopyToDevice();
  void Discard();

  std::string m_path;      // where symbolic links lead, and for devices what was opened
  std::string m_tempPath;  // empty while the temporary file has no name
  TempName m_tempName = TempName::kUnique;
  bool m_isDevice = false;
  std::FILE* m_file = nullptr;
};

/// Where `path` leads when symbolic links are followed, also when nothing is there yet.
std::string FollowLinks(const std::string& path);

}  // namespace hostkit
