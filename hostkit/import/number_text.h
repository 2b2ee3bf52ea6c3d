// Numbers and words in text files, whatever the locale.
#pragma once

#include <cstdint>
#include <string_view>

namespace hostkit {

/// Reads a decimal number at `*at`: sign, digits with a point, exponent; "inf" and "nan" too. Moves
/// `*at` behind it. False without a number there, and nothing moves. `end` is never read.
bool ReadNumber(const char** at, const char* end, double* value);

/// The same for a whole number without a point, of at most 18 digits.
bool ReadInteger(const char** at, const char* end, std::int64_t* value);

inline bool IsBlank(char c) {
  return c == ' ' || c == '\t';
}
inline bool IsSpace(char c) {
  return IsBlank(c) || c == '\n' || c == '\r' || c == '\v' || c == '\f' || c == '\0';
}

inline void SkipBlanks(const char** at, const char* end) {
  while (*at < end && IsBlank(**at)) ++*at;
}

/// Without the white space at both ends.
std::string_view Trimmed(std::string_view text);

/// Takes the first word off `*text`, and what white space is around it; "" when there is none.
std::string_view TakeWord(std::string_view* text);

/// Whether both are the same but for the case of ASCII letters.
bool IsSameWord(std::string_view a, std::string_view b);

}  // namespace hostkit
