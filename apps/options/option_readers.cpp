// How values of options are read, and what is said about wrong ones.
#include "apps/options/option_readers.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>

namespace gl3 {
namespace {

struct NamedColor {
  const char* name;
  float rgb[3];
};
constexpr NamedColor kColors[] = {
    {"black", {0, 0, 0}},  {"white", {1, 1, 1}},   {"gray", {0.5f, 0.5f, 0.5f}},
    {"red", {1, 0, 0}},    {"green", {0, 1, 0}},   {"blue", {0, 0, 1}},
    {"yellow", {1, 1, 0}}, {"magenta", {1, 0, 1}}, {"cyan", {0, 1, 1}},
};

bool ReadHexColor(const std::string& digits, float rgb[3]) {
  if (digits.size() != 3 && digits.size() != 6) return false;
  if (digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) return false;
  const std::size_t each = digits.size() / 3;
  for (std::size_t i = 0; i < 3; ++i) {
    const long value = std::strtol(digits.substr(i * each, each).c_str(), nullptr, 16);
    rgb[i] = static_cast<float>(each == 1 ? value * 17 : value) / 255.f;
  }
  return true;
}

}  // namespace

bool ReadColor(const std::string& text, float rgb[3], std::string* error) {
  std::vector<std::string> names;
  for (const NamedColor& color : kColors) {
    names.emplace_back(color.name);
    if (text != color.name) continue;
    std::copy_n(color.rgb, 3, rgb);
    return true;
  }
  const bool isRead =
      !text.empty() && text[0] == '#' ? ReadHexColor(text.substr(1), rgb) : ParseTriple(text, rgb);
  const auto inRange = [](float value) { return value >= 0 && value <= 1; };
  if (isRead && std::all_of(rgb, rgb + 3, inRange)) return true;
  *error = fmt::format(
      "{} is not a colour; give #rgb, #rrggbb, three numbers from 0 to 1 such as 0.2,0.2,0.3 or "
      "one of {}",
      ShellQuote(text), JoinNames(names));
  return false;
}

Reader IntegerReader(int least, int most, int* number) {
  return [=](const std::string& text, std::string* error) {
    int value = 0;
    if (ParseInteger(text, &value) && value >= least && value <= most) {
      *number = value;
      return true;
    }
    *error = fmt::format("{} is out of range; give a whole number from {} to {}", ShellQuote(text),
                         least, most);
    return false;
  };
}

}  // namespace gl3
