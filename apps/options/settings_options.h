// What `gl3 settings` is asked for.
#pragma once

#include <string>
#include <vector>

namespace gl3 {

struct SettingsOptions {
  std::string action = "list";     ///< list, get or set.
  std::vector<std::string> words;  ///< A key's words, for `set` with the value last.
  bool json = false;
};

}  // namespace gl3
