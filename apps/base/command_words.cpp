// Command lines as text: taking apart what ShellQuote put together.
#include "apps/base/command_words.h"

#include <cstddef>
#include <cstring>
#include <utility>

#include "apps/base/text.h"

namespace gl3 {
namespace {

constexpr std::size_t kLongestCommand = 65536, kMostWords = 4096;
constexpr const char* kOfTheShell = "\"$`|&;<>()*?[]{}!#~";

}  // namespace

bool SplitCommand(const std::string& command, std::vector<std::string>* words) {
  if (command.size() > kLongestCommand) return false;
  std::vector<std::string> found;
  bool isInWord = false;
  for (std::size_t at = 0; at < command.size(); ++at) {
    const char c = command[at];
    if (c == '\0') return false;
    if (c == ' ' || c == '\t' || c == '\n') {
      isInWord = false;
      continue;
    }
    if (!isInWord) found.emplace_back();
    isInWord = true;
    if (c == '\'') {
      const std::size_t end = command.find('\'', at + 1);
      if (end == std::string::npos) return false;
      found.back() += command.substr(at + 1, end - at - 1);
      at = end;
    } else if (c == '\\') {
      if (++at == command.size()) return false;
      found.back() += command[at];
    } else if (std::strchr(kOfTheShell, c)) {
      return false;
    } else {
      found.back() += c;
    }
  }
  if (found.size() > kMostWords) return false;
  *words = std::move(found);
  return true;
}

std::string JoinCommand(const std::vector<std::string>& words) {
  std::string command;
  for (const std::string& word : words) {
    command += (command.empty() ? "" : " ") + ShellQuote(word);
  }
  return command;
}

}  // namespace gl3
