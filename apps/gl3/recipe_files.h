// The files that a picture's recipe names, for whoever repeats it.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "apps/base/messages.h"

namespace gl3 {

/// The hash of a file's bytes as recipes have it; empty when it cannot be read.
using FileHash = std::string (*)(const std::string& path);

/// Finds these files. A picture may come from a stranger and name any file, so those in its folder
/// and below are taken as they are; others are told, or refused when the run is confined.
class RecipeFiles {
 public:
  /// `picture` is the one with the recipe.
  RecipeFiles(std::string picture, bool isConfined, FileHash hash);

  /// Where the file is that the recipe calls `name`. A name without a folder is looked for beside
  /// the picture, then in the current folder; when both have it, the first one with `hash` is
  /// taken, else the first one, which alone counts when the run is confined. `option` is what the
  /// user names such a file with. Empty when there is none.
  std::string Find(const std::string& name, const std::string& hash, const std::string& option);

  /// Warns of files elsewhere. kUnreadableInput with a message when there are files that may not be
  /// read, or names that no file was found for.
  Outcome Judge() const;
  /// Those in the picture's folder and below.
  const std::vector<std::string>& Near() const { return m_near.names; }

 private:
  struct Files {
    std::vector<std::string> names;
    std::set<std::string> options;

    void Add(const std::string& name, const std::string& option) {
      names.push_back(name);
      options.insert(option);
    }
  };

  std::string Choose(const std::string& name, const std::string& hash) const;
  bool IsBelowPicture(const std::string& path) const;
  Outcome Refuse(const Files& files, const std::string& why) const;

  std::string m_picture, m_folder;  // of the picture; empty: the current one
  bool m_isConfined;
  FileHash m_hash;
  Files m_near, m_far, m_missing;
};

}  // namespace gl3
