// Numbers and words in text files, whatever the locale.
#include "hostkit/import/number_text.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <iterator>
#include <limits>
#include <system_error>

namespace hostkit {
namespace {

/// Powers of ten that a double holds exactly.
constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                              1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                              1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr int kLargestPower = static_cast<int>(std::size(kPowers)) - 1;
constexpr int kMostDigits = 18;  // that surely fit into 64 bits

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

/// Any number, by the standard library.
bool ReadAnyNumber(const char** at, const char* end, double* value) {
  const char* begin = *at;
  if (begin < end && *begin == '+') ++begin;
  const auto [behind, fault] = std::from_chars(begin, end, *value);
  if (fault == std::errc::result_out_of_range) {
    const bool isSmall =
        *begin == '0' || std::string_view(begin, behind).find("e-") != std::string_view::npos;
    *value = isSmall ? 0 : std::numeric_limits<double>::infinity();
  } else if (fault != std::errc()) {
    return false;
  }
  *at = behind;
  return true;
}

/// Adds the exponent at `at`, if there is one, to `*power`; returns what is behind it.
const char* ReadExponent(const char* at, const char* end, int* power) {
  constexpr int kLargest = 99999;
  if (at == end || (*at != 'e' && *at != 'E')) return at;
  const char* digit = at + 1;
  const bool isNegative = digit < end && *digit == '-';
  if (digit < end && (*digit == '-' || *digit == '+')) ++digit;
  if (digit == end || !IsDigit(*digit)) return at;
  int exponent = 0;
  for (; digit < end && IsDigit(*digit); ++digit) {
    exponent = std::min(exponent * 10 + (*digit - '0'), kLargest);
  }
  *power += isNegative ? -exponent : exponent;
  return digit;
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  const int letter = std::tolower(static_cast<unsigned char>(c));
  return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

}  // namespace

// A number of few digits and a small exponent is one division or product of two exact doubles,
// which rounds as the standard library does; that one takes the rest.
bool ReadNumber(const char** at, const char* end, double* value) {
  const char* p = *at;
  const bool isNegative = p < end && *p == '-';
  if (p < end && (*p == '-' || *p == '+')) ++p;
  const char* const first = p;
  std::uint64_t digits = 0;
  for (; p < end && IsDigit(*p); ++p) digits = digits * 10 + static_cast<unsigned>(*p - '0');
  auto count = p - first;
  int power = 0;
  if (p < end && *p == '.') {
    const char* const point = ++p;
    for (; p < end && IsDigit(*p); ++p) digits = digits * 10 + static_cast<unsigned>(*p - '0');
    count += p - point;
    power = -static_cast<int>(std::min<std::ptrdiff_t>(p - point, kMostDigits + 1));
  }
  if (count == 0 || count > kMostDigits || digits > std::uint64_t{1} << 53) {
    return ReadAnyNumber(at, end, value);
  }
  p = ReadExponent(p, end, &power);
  if (power < -kLargestPower || power > kLargestPower) return ReadAnyNumber(at, end, value);
  const auto whole = static_cast<double>(digits);
  const double size = power < 0 ? whole / kPowers[-power] : whole * kPowers[power];
  *value = isNegative ? -size : size;
  *at = p;
  return true;
}

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && IsSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsSpace(text.back())) text.remove_suffix(1);
  return text;
}

std::string_view TakeWord(std::string_view* text) {
  const char* at = text->data();
  const char* const end = at + text->size();
  at = std::find_if_not(at, end, IsSpace);
  const char* const behind = std::find_if(at, end, IsSpace);
  const char* const next = std::find_if_not(behind, end, IsSpace);
  *text = {next, static_cast<std::size_t>(end - next)};
  return {at, static_cast<std::size_t>(behind - at)};
}

bool IsSameWord(std::string_view a, std::string_view b) {
  const auto lower = [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [&lower](char one, char other) { return lower(one) == lower(other); });
}

std::string Unescaped(std::string_view text) {
  std::string plain;
  plain.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isEscape = text[i] == '%' && i + 2 < text.size() && HexDigit(text[i + 1]) >= 0 &&
                          HexDigit(text[i + 2]) >= 0;
    plain +=
        isEscape ? static_cast<char>(16 * HexDigit(text[i + 1]) + HexDigit(text[i + 2])) : text[i];
    if (isEscape) i += 2;
  }
  return plain;
}

}  // namespace hostkit
