// Output files that appear whole or not at all.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>

namespace hostkit {

/// A file being written. A regular file grows in its folder without a name, or under a temporary
/// one (.gl3-PID-N.part) where the file system knows only named files, and takes its own name in
/// Commit; without Commit nothing stays, and of a killed process at most the temporary one. A link
/// at the path is followed, and what it points to is replaced. A device or pipe (/dev/stdout, say)
/// gets the finished bytes in Commit.
class PictureFile {
 public:
  PictureFile() = default;
  ~PictureFile();
  PictureFile(const PictureFile&) = delete;
  PictureFile& operator=(const PictureFile&) = delete;

  /// False with the reason and the remedy (without the path) in `*reason`.
  bool Open(const std::string& path, std::string* reason);
  /// The stream to write to; it can seek. Null before Open.
  std::FILE* Stream() const { return m_stream; }
  /// Finishes the file. False with reason and remedy, and then nothing was changed at the path.
  bool Commit(std::string* reason);

 private:
  bool OpenTemporary(std::string* reason);
  int OpenNamed(const std::filesystem::path& folder);
  bool NameIt();
  bool CopyToDevice(std::string* reason);

  std::filesystem::path m_target;     // with links resolved
  std::filesystem::path m_temporary;  // empty while the file has no name
  bool m_isDevice = false;
  std::FILE* m_stream = nullptr;
};

/// What went wrong in writing, and the remedy, for an errno value.
std::string WriteErrorText(int code);

}  // namespace hostkit
