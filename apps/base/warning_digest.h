// Many warnings in few lines.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace gl3 {

/// Gathers warnings by kind. Two are of one kind when they differ in one run of words alone, a name
/// or a number, and have at least as much of what they tell in common, their remedy ("; " before
/// it) included.
class WarningDigest {
 public:
  void Add(const std::string& text);

  /// What was added since the last call: a line for each new kind, the first warning as it is, with
  /// the number of those like it and what is different in two of them. Of kinds that were told
  /// before there is nothing yet.
  std::vector<std::string> Take();
  /// The end: how many more there were of kinds that were told before they were all there.
  std::vector<std::string> TakeRest();

 private:
  struct Kind {
    std::string first;
    std::vector<std::string> others;  // what is different in the next ones
    std::size_t count = 0, told = 0;
  };

  std::vector<Kind> m_kinds;
  std::size_t m_beyond = 0;  // of further kinds
};

/// All of a list, in as few lines.
std::vector<std::string> DigestOf(const std::vector<std::string>& warnings);

}  // namespace gl3
