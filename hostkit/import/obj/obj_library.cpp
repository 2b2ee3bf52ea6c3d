// Material libraries of OBJ files.
#include "hostkit/import/obj/obj_library.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "hostkit/import/number_text.h"

namespace hostkit {
namespace {

using Imath::V2f;
using Imath::V3f;

/// Takes a word that is a number off the text.
bool TakeNumber(std::string_view* text, float* number) {
  std::string_view rest = *text;
  const std::string_view word = TakeWord(&rest);
  const char* at = word.data();
  double value = 0;
  if (!ReadNumber(&at, word.data() + word.size(), &value) || at != word.data() + word.size()) {
    return false;
  }
  *number = static_cast<float>(value);
  *text = rest;
  return std::isfinite(*number);
}

/// A colour of three numbers, or of one for all three; false for spectra and such.
bool TakeColor(std::string_view text, V3f* color) {
  V3f read;
  if (!TakeNumber(&text, &read.x)) return false;
  if (!TakeNumber(&text, &read.y)) read.y = read.x;
  if (!TakeNumber(&text, &read.z)) read.z = read.y;
  *color = read;
  return true;
}

/// One to three numbers; the third, for textures of three dimensions, is of no use here.
void TakePlacement(std::string_view* text, V2f* placement) {
  float third = 0;
  if (TakeNumber(text, &placement->x) && TakeNumber(text, &placement->y)) TakeNumber(text, &third);
}

/// Options that do nothing here, by how many words follow them.
constexpr std::pair<std::string_view, int> kOtherOptions[] = {
    {"-blendu", 1}, {"-blendv", 1}, {"-cc", 1},   {"-mm", 2},      {"-texres", 1},
    {"-bm", 1},     {"-boost", 1},  {"-type", 1}, {"-imfchan", 1}, {"-colorspace", 1},
};

/// Takes an option off the text; false without one that is known.
bool TakeOption(std::string_view* text, ObjPicture& picture) {
  std::string_view rest = *text;
  const std::string_view option = TakeWord(&rest);
  V2f turbulence;
  if (IsSameWord(option, "-clamp")) {
    picture.isClamped = IsSameWord(TakeWord(&rest), "on");
  } else if (IsSameWord(option, "-s")) {
    TakePlacement(&rest, &picture.scale);
  } else if (IsSameWord(option, "-o")) {
    TakePlacement(&rest, &picture.offset);
  } else if (IsSameWord(option, "-t")) {
    TakePlacement(&rest, &turbulence);
  } else {
    const auto* const known =
        std::find_if(std::begin(kOtherOptions), std::end(kOtherOptions),
                     [option](const auto& other) { return IsSameWord(other.first, option); });
    if (known == std::end(kOtherOptions)) return false;
    for (int i = 0; i < known->second; ++i) TakeWord(&rest);
  }
  *text = rest;
  return true;
}

ObjPicture ReadPicture(std::string_view text) {
  ObjPicture picture;
  while (TakeOption(&text, picture)) {
  }
  text = Trimmed(text);
  if (text.size() > 1 && text.front() == '"' && text.back() == '"') {
    text = text.substr(1, text.size() - 2);
  }
  picture.name = text;
  return picture;
}

void ReadOpacity(std::string_view text, ObjMaterial& material) {
  std::string_view rest = text;
  if (IsSameWord(TakeWord(&rest), "-halo")) text = rest;
  float value = 0;
  if (TakeNumber(&text, &value)) material.opacity = value;
}

void ReadStatement(std::string_view key, std::string_view text, ObjMaterial& material) {
  V3f color;
  float number = 0;
  if (IsSameWord(key, "Kd")) {
    if (TakeColor(text, &color)) material.diffuse = color;
  } else if (IsSameWord(key, "Ks")) {
    TakeColor(text, &material.specular);
  } else if (IsSameWord(key, "Ke")) {
    TakeColor(text, &material.emission);
  } else if (IsSameWord(key, "Ns")) {
    TakeNumber(&text, &material.exponent);
  } else if (IsSameWord(key, "d")) {
    ReadOpacity(text, material);
  } else if (IsSameWord(key, "Tr")) {
    if (TakeNumber(&text, &number)) material.transparency = number;
  } else if (IsSameWord(key, "illum")) {
    if (TakeNumber(&text, &number))
      material.illumination = static_cast<int>(std::clamp(number, 0.0f, 99.0f));
  } else if (IsSameWord(key, "map_Kd")) {
    material.diffusePicture = ReadPicture(text);
  } else if (IsSameWord(key, "map_d")) {
    material.opacityPicture = ReadPicture(text);
  } else if (IsSameWord(key, "map_Ke")) {
    material.emissionPicture = ReadPicture(text);
  }
}

}  // namespace

void ReadObjLibrary(std::string_view text, std::vector<ObjMaterial>* materials) {
  bool hasMaterial = false;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    const std::string_view key = TakeWord(&line);
    line = Trimmed(line);
    if (IsSameWord(key, "newmtl")) {
      materials->emplace_back().name = line;
      hasMaterial = true;
    } else if (hasMaterial) {
      ReadStatement(key, line, materials->back());
    }
  }
}

}  // namespace hostkit
