// Other programs beside each other, started with their arguments as they are; no shell reads them.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace gl3 {

/// A program to run beside others.
struct PoolProgram {
  std::vector<std::string> words;
  std::string log;  ///< File that gets what it prints, at its end.
};

/// Runs the programs, `width` at a time and begun in their order, and returns their statuses. They
/// end with this process; a signal that asks it to end ends them first, then calls `tellEnd`.
/// `tick` is called a few times a second.
std::vector<int> RunPool(const std::vector<PoolProgram>& programs, int width,
                         const std::function<void()>& tick, const std::function<void()>& tellEnd);

}  // namespace gl3
