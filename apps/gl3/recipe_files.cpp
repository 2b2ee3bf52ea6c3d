// The files that a picture's recipe names, for whoever repeats it.
#include "apps/gl3/recipe_files.h"

#include <fmt/format.h>

#include <filesystem>
#include <system_error>
#include <utility>

#include "apps/base/text.h"

namespace gl3 {
namespace {

namespace fs = std::filesystem;

bool IsFile(const std::string& path) {
  std::error_code error;
  return fs::is_regular_file(path, error);
}

bool IsFileThere(const std::string& path) {
  std::error_code error;
  return fs::exists(path, error);
}

/// Without links; empty when that cannot be told.
fs::path Resolve(const fs::path& path) {
  std::error_code error;
  fs::path resolved = fs::weakly_canonical(fs::absolute(path, error), error);
  return error ? fs::path() : resolved;
}

}  // namespace

RecipeFiles::RecipeFiles(std::string picture, bool isConfined, FileHash hash)
    : m_picture(std::move(picture)),
      m_folder(fs::path(m_picture).parent_path().string()),
      m_isConfined(isConfined),
      m_hash(hash) {}

std::string RecipeFiles::Find(const std::string& name, const std::string& hash,
                              const std::string& option) {
  const fs::path plain = fs::path(name).lexically_normal();
  std::string path = plain.has_parent_path() ? name : Choose(plain.string(), hash);
  if (path.empty()) {
    m_missing.Add(name, option);
  } else if (IsBelowPicture(path)) {
    m_near.Add(path, option);
  } else if (m_isConfined || IsFileThere(path)) {
    m_far.Add(path, option);
  }
  return path;
}

/// Empty when there is none.
std::string RecipeFiles::Choose(const std::string& name, const std::string& hash) const {
  std::string beside = (fs::path(m_folder) / name).string();
  if (!IsFile(beside)) return IsFile(name) ? name : "";
  if (m_isConfined || beside == name || !IsFile(name)) return beside;
  return m_hash(beside) != hash && m_hash(name) == hash ? name : beside;
}

bool RecipeFiles::IsBelowPicture(const std::string& path) const {
  const fs::path folder = Resolve(m_folder.empty() ? "." : m_folder), file = Resolve(path);
  if (folder.empty() || file.empty()) return false;
  const fs::path way = file.lexically_relative(folder);
  return !way.empty() && *way.begin() != "..";
}

Outcome RecipeFiles::Refuse(const Files& files, const std::string& why) const {
  const std::vector<std::string> options(files.options.begin(), files.options.end());
  return {kUnreadableInput,
          fmt::format("{}: its recipe names {}, {}; give {} yourself", m_picture,
                      JoinNames(files.names), why, fmt::format("{}", fmt::join(options, " and ")))};
}

Outcome RecipeFiles::Judge() const {
  if (m_isConfined && !m_far.names.empty()) {
    return Refuse(m_far, "outside of its folder, where a confined run reads nothing");
  }
  if (!m_missing.names.empty()) {
    return Refuse(m_missing, "neither beside it nor in the current folder");
  }
  if (!m_far.names.empty()) {
    PrintWarning(m_picture +
                 ": its recipe has files read outside of its folder: " + JoinNames(m_far.names));
  }
  return {};
}

}  // namespace gl3
