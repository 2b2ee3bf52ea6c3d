// Numbers and words in text files, whatever the locale.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace hostkit {

/// Reads a decimal number at `*at`: sign, digits with a point, exponent; "inf" and "nan" too. Moves
/// `*at` behind it. False without a number there, and nothing moves. `end` is never read.
bool ReadNumber(const char** at, const char* end, double* value);

/// The same for a whole number without a point, of at most 18 digits.
inline bool ReadInteger(const char** at, const char* end, std::int64_t* value) {
  constexpr int kMostDigits = 18;
  const char* p = *at;
  const bool isNegative = p < end && *p == '-';
  if (p < end && (*p == '-' || *p == '+')) ++p;
  const char* const first = p;
  std::int64_t number = 0;
  for (; p < end && *p >= '0' && *p <= '9'; ++p) {
    if (p - first == kMostDigits) return false;
    number = number * 10 + (*p - '0');
  }
  if (p == first) return false;
  *value = isNegative ? -number : number;
  *at = p;
  return true;
}

inline bool IsBlank(char c) {
  return c == ' ' || c == '\t';
}
/// Ends of lines and all other controls, too.
inline bool IsSpace(char c) {
  return static_cast<unsigned char>(c) <= ' ';
}

inline void SkipBlanks(const char** at, const char* end) {
  while (*at < end && IsBlank(**at)) ++*at;
}

/// Without the white space at both ends.
std::string_view Trimmed(std::string_view text);

/// Takes the first word off `*text`, and what white space is around it; "" when there is none.
std::string_view TakeWord(std::string_view* text);

/// With percent escapes turned into their bytes, as in URIs ("%20" for a space).
std::string Unescaped(std::string_view text);

/// Whether both are the same but for the case of ASCII letters.
bool IsSameWord(std::string_view a, std::string_view b);

}  // namespace hostkit
