// Checks of files before work starts, and clearing up after work that was ended.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

#include "apps/base/messages.h"

namespace gl3 {

/// Whether a model can be read at all: there, a file, not empty, permitted. kUnreadableInput with a
/// message, or kDone.
Outcome CheckInput(const std::string& path);

/// Why none of these models came out of an import that says `error`: what CheckInput finds, which
/// importers take for an empty file, say, else that. kUnreadableInput.
Outcome UnreadableInput(const std::vector<std::string>& paths, const std::string& error);

/// Whether a picture is there already, so that --skip-existing leaves it out. Pictures appear
/// whole; an empty file is none.
bool IsThere(const std::string& path);

/// Where a chain of links ends, whether something is there or not; `path` when it is no link.
std::filesystem::path LinkTarget(std::filesystem::path path);

/// kUnreadableInput for a link that leads out of its folder: what is read confined lies where it
/// seems to.
Outcome CheckReach(const std::string& path);

/// A folder of this program's own for files that it does not keep. It goes with the process that
/// made it, also when a signal ends that which RunSupervised hears; in children it stays.
class ScratchFolder {
 public:
  /// In the folder that TMPDIR names, else in /tmp. `Path()` is empty when none can be made, with
  /// the reason in errno.
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::string& Path() const { return m_path; }
  /// Before a signal ends the process: removes the latest one that is there.
  static void RemoveBeforeEnd();

 private:
  void Remove();

  std::string m_path;
  pid_t m_maker;
};

/// Removes what process `writer` left of `path` when it was ended in mid-write. Picture files grow
/// under a temporary name in the same folder.
void RemoveUnfinished(const std::string& path, pid_t writer);

}  // namespace gl3
