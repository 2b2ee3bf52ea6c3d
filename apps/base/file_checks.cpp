// Checks of files before work starts, and clearing up after work that was ended.
#include "apps/base/file_checks.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "hostkit/services/kernel_file.h"

namespace gl3 {
namespace {

namespace fs = std::filesystem;

ScratchFolder* g_scratch = nullptr;

/// The folder that the picture file grows in: that of what a link points to.
fs::path FolderOf(const std::string& path) {
  const fs::path folder = LinkTarget(path).parent_path();
  return folder.empty() ? fs::path(".") : folder;
}

}  // namespace

fs::path LinkTarget(fs::path path) {
  std::error_code error;
  for (int links = 0; links < 40 && fs::is_symlink(path, error); ++links) {
    path = path.parent_path() / fs::read_symlink(path, error);
  }
  return path;
}

Outcome CheckReach(const std::string& path) {
  std::error_code code;
  if (!fs::is_symlink(path, code)) return {};
  const fs::path parent = fs::path(path).parent_path();
  const fs::path folder = fs::canonical(parent.empty() ? "." : parent, code);
  const fs::path below = fs::weakly_canonical(path, code).lexically_relative(folder);
  if (!code && !below.empty() && *below.begin() != "..") return {};
  return {kUnreadableInput, path +
                                ": is a link that leads out of its folder, to which reading is "
                                "confined; put the file itself there"};
}

Outcome CheckInput(const std::string& path) {
  struct stat status;
  const auto refuse = [&](const std::string& why) -> Outcome {
    return {kUnreadableInput, path + ": " + why};
  };
  if (::stat(path.c_str(), &status) != 0) {
    if (errno == ENOENT) return refuse("there is no such file; check the path");
    return refuse(fmt::format("{}; check the path", std::strerror(errno)));
  }
  if (S_ISDIR(status.st_mode)) return refuse("it is a folder; name a model file in it");
  if (!S_ISREG(status.st_mode)) return refuse("it is not a regular file; save the model to one");
  if (hostkit::IsKernelFile(path)) {
    return refuse("it is a file of the kernel's own, which tells no size; copy it to a disk first");
  }
  if (status.st_size == 0) return refuse("the file is empty; export or copy it anew");
  if (::access(path.c_str(), R_OK) != 0) {
    return refuse("it may not be read; change its permissions");
  }
  return {};
}

Outcome UnreadableInput(const std::vector<std::string>& paths, const std::string& error) {
  for (const std::string& path : paths) {
    Outcome found = CheckInput(path);
    if (found.status != kDone) return found;
  }
  return {kUnreadableInput, error};
}

bool IsThere(const std::string& path) {
  std::error_code error;
  return fs::is_regular_file(path, error) && fs::file_size(path, error) > 0;
}

ScratchFolder::ScratchFolder() : m_maker(getpid()) {
  const char* folder = std::getenv("TMPDIR");
  m_path = std::string(folder && *folder ? folder : "/tmp") + "/gl3-XXXXXX";
  if (!mkdtemp(m_path.data())) m_path.clear();
  g_scratch = this;
}

ScratchFolder::~ScratchFolder() {
  Remove();
  g_scratch = nullptr;
}

void ScratchFolder::Remove() {
  std::error_code error;
  if (getpid() == m_maker && !m_path.empty()) fs::remove_all(m_path, error);
}

void ScratchFolder::RemoveBeforeEnd() {
  if (g_scratch) g_scratch->Remove();
}

void RemoveUnfinished(const std::string& path, pid_t writer) {
  const std::string prefix = fmt::format(".gl3-{}-", writer);
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(FolderOf(path), error)) {
    const std::string name = entry.path().filename().string();
    if (name.compare(0, prefix.size(), prefix) == 0 && entry.path().extension() == ".part") {
      fs::remove(entry.path(), error);
    }
  }
}

}  // namespace gl3
