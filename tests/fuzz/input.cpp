// Values out of the bytes of an input.
#include "tests/fuzz/input.h"

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>

int Input::Int() {
  constexpr int kEdges[] = {INT_MIN, INT_MAX, INT_MIN + 1, -32769, 32768, 65536, 65535, 16777217};
  const int value = static_cast<std::int8_t>(Byte());
  return m_tame || value >= -120 ? value : kEdges[-value % 8];
}

float Input::Float() {
  constexpr float kEdges[] = {NAN,      INFINITY, -INFINITY, -0.0f, FLT_MAX, -FLT_MAX,
                              FLT_MIN,  1e-40f,   -1e-40f,   1e20f, -1e20f,  2147483648.0f,
                              -1000.0f, -0.999f,  -1.0f,     1.0f};
  const std::uint8_t byte = Byte();
  if (!m_tame && byte >= 192) return kEdges[byte % 16];
  return static_cast<float>(byte % 192 - 96) / 8;
}

std::string Input::Text(std::size_t limit) {
  const std::size_t size = std::min(limit, static_cast<std::size_t>(m_end - m_next));
  const std::string text(m_next, m_next + size);
  m_next += size;
  return text;
}

void Require(bool holds, const std::string& what) {
  if (holds) return;
  std::fprintf(stderr, "fuzz: %s\n", what.c_str());
  std::abort();
}

void RequireOneLine(const std::string& message) {
  Require(!message.empty(), "a failure without a message");
  Require(message.find('\n') == std::string::npos, "a message of two lines: " + message);
}
