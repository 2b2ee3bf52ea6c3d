// Handing over to the viewer, which is a program of its own.
#include "apps/gl3/start_viewer.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "apps/base/messages.h"

namespace gl3 {

int StartViewer(const std::vector<std::string>& arguments, const std::string& remedy) {
  static constexpr const char* kViewer = "gl3-view";
  std::vector<char*> list = {const_cast<char*>(kViewer)};
  for (const std::string& argument : arguments) list.push_back(const_cast<char*>(argument.c_str()));
  list.push_back(nullptr);
  std::error_code code;
  const auto self = std::filesystem::read_symlink("/proc/self/exe", code);
  const std::string beside = (self.parent_path() / kViewer).string();
  execv(beside.c_str(), list.data());
  const std::string why = errno == ENOENT
                              ? "is not installed beside gl3"
                              : std::string("cannot be started: ") + std::strerror(errno);
  PrintError(std::string(kViewer) + " " + why + "; build or install it with Qt 6" + remedy);
  return kRunFailed;
}

}  // namespace gl3
