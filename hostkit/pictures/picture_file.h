// Output files of pictures, with words for what goes wrong.
#pragma once

#include <cstdio>
#include <string>

#include "hostkit/services/atomic_file.h"

namespace hostkit {

/// A picture being written: an AtomicFile that tells its user what to do about a failure. Commit
/// does not wait for the disk.
class PictureFile {
 public:
  /// False with the reason and the remedy (without the path) in `*reason`.
  bool Open(const std::string& path, std::string* reason);
  /// The stream to write to; it can seek. Null before Open.
  std::FILE* Stream() const { return m_file.Stream(); }
  /// Finishes the file. False with reason and remedy, and then a file at the path is as it was.
  bool Commit(std::string* reason);

 private:
  AtomicFile m_file;
};

/// What went wrong in writing, and the remedy, for an errno value.
std::string WriteErrorText(int code);

}  // namespace hostkit
