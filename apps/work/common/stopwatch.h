// Wall time since something began.
#pragma once

#include <chrono>

namespace gl3 {

class Stopwatch {
 public:
  double Milliseconds() const {
    return std::chrono::duration<double, std::milli>(Clock::now() - m_start).count();
  }

 private:
  using Clock = std::chrono::steady_clock;
  Clock::time_point m_start = Clock::now();
};

}  // namespace gl3
