// Command lines as text: taking apart what ShellQuote put together.
#pragma once

#include <string>
#include <vector>

namespace gl3 {

/// The words of a command line that was quoted for a POSIX shell: plain characters, 'single quotes'
/// and backslashes before one character. Nothing is expanded or run. False for what a shell would
/// take for more than words (variables, pipes, double quotes, an open quote), and for more than 64
/// KiB or 4096 words; `*words` is then unchanged.
bool SplitCommand(const std::string& command, std::vector<std::string>* words);

/// The words as one line that SplitCommand takes apart again.
std::string JoinCommand(const std::vector<std::string>& words);

}  // namespace gl3
