// Other programs, started with their arguments as they are; no shell reads them.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "apps/base/messages.h"

namespace gl3 {

/// The status of a program that there is not.
constexpr int kNoProgram = 127;

struct CommandEnd {
  int status = -1;  ///< Exit status; 128 and the signal that ended it; 127: there is none.
  std::string out, err;
};

/// Runs a program, looked for as shells do, to its end.
CommandEnd RunCommand(const std::vector<std::string>& words);

/// The path of this program.
std::string ThisProgram();

/// A program to run beside others.
struct PoolProgram {
  std::vector<std::string> words;
  std::string log;  ///< File that gets what it prints, at its end.
};

/// Runs the programs, `width` at a time and begun in their order, and returns their statuses. They
/// end with this process; a signal that asks it to end ends them first. `tick` is called a few
/// times a second.
std::vector<int> RunPool(const std::vector<PoolProgram>& programs, int width,
                         const std::function<void()>& tick);

}  // namespace gl3
