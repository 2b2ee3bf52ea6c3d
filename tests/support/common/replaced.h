// A value that a test replaces for a while.
#pragma once

#include <utility>

/// Replaces one of GLEW's function pointers, or any other value, while it lives.
template <typename Value>
class Replaced {
 public:
  Replaced(Value& place, Value value) : m_place(place), m_former(std::exchange(place, value)) {}
  ~Replaced() { m_place = m_former; }
  Replaced(const Replaced&) = delete;
  Replaced& operator=(const Replaced&) = delete;

 private:
  Value& m_place;
  Value m_former;
};
