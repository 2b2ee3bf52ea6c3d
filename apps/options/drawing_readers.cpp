// Reading what the drawing options take.
#include "apps/options/drawing_readers.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "apps/base/text.h"
#include "apps/options/option_readers.h"

namespace gl3 {
namespace {

constexpr int kFarthestPixel = 100000;

/// The fields of a list with commas; the last one takes all that is left.
std::vector<std::string> Fields(const std::string& text, std::size_t most) {
  std::vector<std::string> fields;
  std::size_t begin = 0;
  while (fields.size() + 1 < most) {
    const std::size_t comma = text.find(',', begin);
    if (comma == std::string::npos) break;
    fields.push_back(text.substr(begin, comma - begin));
    begin = comma + 1;
  }
  fields.push_back(text.substr(begin));
  return fields;
}

bool ReadFloat(const std::string& text, float* value) {
  double number = 0;
  if (!ParseNumber(text, &number)) return false;
  *value = static_cast<float>(number);
  return *value - *value == 0;  // beyond the range of a float it is infinite
}

struct Placed {
  std::string head;
  int x = 0, y = 0;
  std::string rest;  // after X,Y; empty: nothing came
};

/// Parts "HEAD,X,Y" or "HEAD,X,Y,REST" at the first place where `isRest` takes what is left; a head
/// may hold commas. False when there is no such place: all of it is the head.
template <class IsRest>
bool Part(const std::string& text, IsRest isRest, Placed* placed) {
  for (std::size_t comma = text.find(',', 1); comma != std::string::npos;
       comma = text.find(',', comma + 1)) {
    const std::vector<std::string> fields = Fields(text.substr(comma + 1), 3);
    if (fields.size() < 2 || !ParseInteger(fields[0], &placed->x) ||
        !ParseInteger(fields[1], &placed->y)) {
      continue;
    }
    if (fields.size() == 3 && !isRest(fields[2])) continue;
    placed->head = text.substr(0, comma);
    placed->rest = fields.size() == 3 ? fields[2] : "";
    return true;
  }
  return false;
}

/// Takes ",SIZEpx" off the end. False, and says why, for a size that cannot be drawn.
bool TakeSize(std::string* text, int* size, std::string* error) {
  constexpr int kLeast = 4, kMost = 256;
  const std::size_t comma = text->rfind(',');
  if (comma == std::string::npos || !text->ends_with("px")) return true;
  const std::string digits = text->substr(comma + 1, text->size() - comma - 3);
  if (!ParseInteger(digits, size)) return true;
  text->erase(comma);
  if (*size >= kLeast && *size <= kMost) return true;
  *error = fmt::format("{}px is no size of letters; give {}px to {}px", digits, kLeast, kMost);
  return false;
}

bool IsNearPixel(const Placed& placed, std::string* error) {
  const auto [least, most] = std::minmax(placed.x, placed.y);
  if (least >= -kFarthestPixel && most <= kFarthestPixel) return true;
  *error = fmt::format("{},{} is too far away; give pixels from -{} to {}", placed.x, placed.y,
                       kFarthestPixel, kFarthestPixel);
  return false;
}

}  // namespace

ColorBuf ToBytes(const float rgb[3]) {
  const auto byte = [](float value) { return static_cast<std::uint8_t>(value * 255 + 0.5f); };
  return {byte(rgb[0]), byte(rgb[1]), byte(rgb[2]), 255};
}

bool ReadFog(const std::string& text, DrawingOptions* options, std::string* error) {
  hostkit::Fog fog;
  fog.on = true;
  fog.exponential = text.compare(0, 4, "exp:") == 0;
  const std::size_t numbers = fog.exponential ? 1 : 2;
  const std::vector<std::string> fields =
      Fields(fog.exponential ? text.substr(4) : text, numbers + 1);
  const bool isRead = fog.exponential
                          ? ReadFloat(fields[0], &fog.density)
                          : fields.size() >= 2 && ReadFloat(fields[0], &fog.nearDistance) &&
                                ReadFloat(fields[1], &fog.farDistance);
  if (!isRead) {
    *error = ShellQuote(text) +
             " is not a fog; give NEAR,FAR such as 2,10 or exp:DENSITY such as exp:0.1, and a "
             "colour after another comma if you like";
    return false;
  }
  if (fog.exponential && fog.density <= 0) {
    *error = ShellQuote(text) + " has no density; give a number above 0";
    return false;
  }
  if (!fog.exponential && !(fog.nearDistance >= 0 && fog.farDistance > fog.nearDistance)) {
    *error = ShellQuote(text) + " does not go from near to far; give 0 <= NEAR < FAR";
    return false;
  }
  options->hasFogColor = fields.size() > numbers;
  if (options->hasFogColor && !ReadColor(fields[numbers], fog.color, error)) return false;
  options->fog = fog;
  return true;
}

bool ReadText(const std::string& given, TextOption* option, std::string* error) {
  float rgb[3];
  Placed placed;
  std::string text = given;
  if (!TakeSize(&text, &option->size, error)) return false;
  option->text = text;
  if (Part(
          text, [&](const std::string& color) { return ReadColor(color, rgb, error); }, &placed)) {
    if (!IsNearPixel(placed, error)) return false;
    option->text = placed.head;
    option->place = {placed.x, placed.y};
    if (!placed.rest.empty()) option->color = ToBytes(rgb);
  }
  error->clear();
  if (!option->text.empty()) return true;
  *error = "there is no text; give some, such as --text \"Front view,20,20\"";
  return false;
}

bool ReadOverlay(const std::string& text, OverlayOption* option, std::string* error) {
  Placed placed;
  option->path = text;
  const auto isNumber = [&](const std::string& alpha) { return ReadFloat(alpha, &option->alpha); };
  if (Part(text, isNumber, &placed)) {
    if (!IsNearPixel(placed, error)) return false;
    option->path = placed.head;
    option->x = placed.x;
    option->y = placed.y;
  }
  if (option->path.empty()) {
    *error = "there is no picture; give its file, such as --overlay logo.png,20,20,0.5";
    return false;
  }
  if (option->alpha >= 0 && option->alpha <= 1) return true;
  *error = fmt::format("{} is no alpha; give a number from 0 (clear) to 1 (opaque)", placed.rest);
  return false;
}

bool ReadGrid(const std::string& text, hostkit::GroundGrid* grid, std::string* error) {
  grid->on = true;
  if (text.empty() || (ReadFloat(text, &grid->spacing) && grid->spacing > 0)) return true;
  *error = ShellQuote(text) + " is no spacing; give world units above 0, or --grid alone";
  return false;
}

}  // namespace gl3
