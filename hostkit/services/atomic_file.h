// A file that appears whole or not at all. Private to the services.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace hostkit {

/// Writes to a temporary file in the target's folder that takes the target's name in Commit; until
/// then the target stays as it is, and without Commit nothing is left behind. A target that is no
/// regular file (a pipe, a terminal, /dev/null), or has no name in any folder, is written to
/// directly, and a symbolic link keeps
/// pointing where it does: the file behind it is replaced. The target's permissions are kept.
class AtomicFile {
 public:
  /// How the temporary file is called.
  enum class TempName {
    kUnique,  ///< Any number of writers may be at it at once.
    kFixed,   ///< The caller holds a lock; what a killed writer left is written over.
  };

  AtomicFile() = default;
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;
  ~AtomicFile() { Discard(); }

  /// Starts writing. Returns false when that cannot be, with errno telling why.
  bool Open(const std::string& path, TempName tempName);
  void Write(std::string_view text);
  /// Puts the file in place, safe on the disk. Returns false when something could not be written,
  /// with errno telling why; the target is then as it was.
  bool Commit();

 private:
  bool OpenTemporary(TempName tempName);
  void Discard();

  std::string m_path;      // where symbolic links lead
  std::string m_tempPath;  // empty while the target is written to directly
  std::FILE* m_file = nullptr;
};

/// Where `path` leads when symbolic links are followed, also when nothing is there yet.
std::string FollowLinks(const std::string& path);

}  // namespace hostkit
