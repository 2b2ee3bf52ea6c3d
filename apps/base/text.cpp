// Small text jobs: numbers from arguments, quoting, suggestions.
#include "apps/base/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <numeric>

#include "hostkit/services/without_controls.h"

namespace gl3 {
namespace {

int Lower(char c) {
  return std::tolower(static_cast<unsigned char>(c));
}

/// How many letters have to be inserted, removed or replaced to get from a to b, without case.
std::size_t EditDistance(const std::string& a, const std::string& b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t replaced = diagonal + (Lower(a[i]) != Lower(b[j]));
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

template <class Number>
bool ParseWhole(const std::string& text, Number* number) {
  const char* begin = text.data();
  const char* end = begin + text.size();
  if (text.size() > 1 && *begin == '+' && begin[1] != '-') ++begin;
  const auto [rest, error] = std::from_chars(begin, end, *number);
  return error == std::errc() && rest == end;
}

}  // namespace

std::string OneLine(const std::string& text) {
  std::string line = hostkit::WithoutControls(text, ' ');
  while (!line.empty() && line.back() == ' ') line.pop_back();
  return line;
}

std::string Shortened(const std::string& text) {
  constexpr std::size_t kLongest = 300;
  if (text.size() <= kLongest) return text;
  std::size_t end = kLongest;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  return text.substr(0, end) + "…";
}

std::string ShellQuote(const std::string& argument) {
  const auto isPlain = [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) ||
           std::string("_-+=.,/:@%^").find(c) != std::string::npos;
  };
  if (!argument.empty() && std::all_of(argument.begin(), argument.end(), isPlain)) return argument;
  std::string quoted = "'";
  for (const char c : argument) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

std::string JoinNames(const std::vector<std::string>& names) {
  return fmt::format("{}", fmt::join(names, ", "));
}

std::string NearestName(const std::string& wrong, const std::vector<std::string>& names) {
  std::string nearest;
  std::size_t least = (wrong.size() + 2) / 3 + 1;
  for (const std::string& name : names) {
    const std::size_t distance = EditDistance(wrong, name);
    if (distance >= least) continue;
    least = distance;
    nearest = name;
  }
  return nearest;
}

bool ParseNumber(const std::string& text, double* number) {
  return ParseWhole(text, number) && std::isfinite(*number);
}

bool ParseInteger(const std::string& text, int* number) {
  return ParseWhole(text, number);
}

bool ParseTriple(const std::string& text, double triple[3]) {
  std::size_t begin = 0;
  for (int i = 0; i < 3; ++i) {
    const std::size_t comma = i < 2 ? text.find(',', begin) : text.size();
    if (comma == std::string::npos) return false;
    if (!ParseNumber(text.substr(begin, comma - begin), &triple[i])) return false;
    if (!std::isfinite(static_cast<float>(triple[i]))) return false;
    begin = comma + 1;
  }
  return true;
}

bool ParseTriple(const std::string& text, float triple[3]) {
  double exact[3];
  if (!ParseTriple(text, exact)) return false;
  std::transform(exact, exact + 3, triple, [](double value) { return static_cast<float>(value); });
  return true;
}

bool ParseBytes(const std::string& text, std::uint64_t* bytes) {
  const std::size_t unitAt = std::min(text.find_first_not_of("0123456789."), text.size());
  double number = 0;
  if (!ParseNumber(text.substr(0, unitAt), &number)) return false;
  std::string unit;
  for (const char c : text.substr(unitAt)) {
    if (c != ' ') unit += static_cast<char>(Lower(c));
  }
  static const std::string kUnits = "kmgt";
  double factor = 1;
  if (!unit.empty() && unit != "b") {
    const std::size_t power = kUnits.find(unit[0]);
    const std::string rest = unit.substr(1);
    if (power == std::string::npos || (!rest.empty() && rest != "b" && rest != "ib")) return false;
    factor = std::ldexp(1.0, 10 * static_cast<int>(power + 1));
  }
  if (number * factor >= std::ldexp(1.0, 63)) return false;
  *bytes = static_cast<std::uint64_t>(number * factor);
  return true;
}

std::string FormatBytes(std::uint64_t bytes) {
  const char* const units[] = {"B", "KiB", "MiB", "GiB", "TiB"};
  double number = static_cast<double>(bytes);
  std::size_t unit = 0;
  for (; number >= 1024 && unit + 1 < std::size(units); ++unit) number /= 1024;
  return unit == 0 ? fmt::format("{} B", bytes) : fmt::format("{:.1f} {}", number, units[unit]);
}

std::string FormatDuration(double seconds) {
  const auto whole = static_cast<long long>(std::clamp(seconds, 0.0, 1e9) + 0.5);
  if (whole >= 3600) return fmt::format("{} h {} min", whole / 3600, whole / 60 % 60);
  return whole >= 60 ? fmt::format("{} min {} s", whole / 60, whole % 60)
                     : fmt::format("{} s", whole);
}

}  // namespace gl3
