// Colours and pictures that the triangles of a 3MF package name.
#include "hostkit/import/threemf/threemf_properties.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "hostkit/import/number_text.h"
#include "hostkit/import/read_meshes.h"
#include "hostkit/services/pixel_values.h"

namespace hostkit {
namespace {

constexpr ColorBuf kWhite{255, 255, 255, 255};

/// "#RRGGBB" or "#RRGGBBAA". Alpha is not 0, which means that there is no colour.
ColorBuf ColorOf(std::string_view text) {
  ColorBuf color = kWhite;
  std::uint8_t* const channels[] = {&color.red, &color.green, &color.blue, &color.alpha};
  for (std::size_t i = 0; i < 4 && 3 + 2 * i <= text.size(); ++i) {
    unsigned value = 0;
    for (const char digit : text.substr(1 + 2 * i, 2)) {
      const std::size_t found =
          std::string_view("0123456789abcdef")
              .find(static_cast<char>(digit >= 'A' && digit <= 'F' ? digit - 'A' + 'a' : digit));
      value = 16 * value + (found < 16 ? static_cast<unsigned>(found) : 0);
    }
    *channels[i] = static_cast<std::uint8_t>(value);
  }
  color.alpha = std::max<std::uint8_t>(color.alpha, 1);
  return color;
}

std::vector<std::uint32_t> IndicesIn(std::string_view text) {
  std::vector<std::uint32_t> indices;
  while (!text.empty()) {
    const std::string_view word = TakeWord(&text);
    if (!word.empty()) indices.push_back(ThreeMfIndex(word));
  }
  return indices;
}

template <class Mix>
ColorBuf Mixed(const ColorBuf& a, const ColorBuf& b, Mix mix) {
  return {mix(a.red, b.red), mix(a.green, b.green), mix(a.blue, b.blue), mix(a.alpha, b.alpha)};
}

std::uint8_t Product(int a, int b) {
  return static_cast<std::uint8_t>((a * b + 127) / 255);
}

/// Lays one look over another. Of two pictures the upper one is seen.
void Lay(const ThreeMfLook& layer, bool multiplies, ThreeMfLook& look) {
  if (layer.picture >= 0) {
    look.picture = layer.picture;
    look.uv = layer.uv;
    if (!multiplies || look.color.alpha == 0) look.color = kWhite;
    return;
  }
  if (layer.color.alpha == 0) return;
  if (look.color.alpha == 0 || (!multiplies && layer.color.alpha == 255)) {
    look = layer;
  } else if (multiplies) {
    look.color = Mixed(look.color, layer.color, Product);
    look.color.alpha = std::max<std::uint8_t>(look.color.alpha, 1);
  } else {
    const int share = layer.color.alpha, clear = (255 - look.color.alpha) * (255 - share);
    look.color = Mixed(look.color, layer.color, [share](int below, int above) {
      return static_cast<std::uint8_t>((below * (255 - share) + above * share + 127) / 255);
    });
    look.color.alpha = static_cast<std::uint8_t>(255 - clear / 255);
  }
}

struct TileStyle {
  PictureWrap wrap;
  bool ends;
};

TileStyle StyleOf(std::string_view text) {
  if (text == "mirror") return {PictureWrap::kMirror, false};
  if (text == "clamp") return {PictureWrap::kClamp, false};
  if (text == "none") return {PictureWrap::kClamp, true};
  return {PictureWrap::kRepeat, false};
}

}  // namespace

std::string_view ThreeMfName(const char* name) {
  const std::string_view whole = name;
  return whole.substr(whole.find(':') + 1);  // npos + 1 is 0
}

std::string_view ThreeMfAttribute(const pugi::xml_node& node, std::string_view name) {
  for (const pugi::xml_attribute& attribute : node.attributes()) {
    if (ThreeMfName(attribute.name()) == name) return attribute.value();
  }
  return {};
}

double ThreeMfNumber(std::string_view text) {
  const char* at = text.data();
  double value = 0;
  return ReadNumber(&at, at + text.size(), &value) ? value : 0;
}

std::uint32_t ThreeMfIndex(std::string_view text) {
  const char* at = text.data();
  std::int64_t value = 0;
  const bool isGood =
      ReadInteger(&at, at + text.size(), &value) && value >= 0 && value < kNoThreeMfIndex;
  return isGood ? static_cast<std::uint32_t>(value) : kNoThreeMfIndex;
}

void ThreeMfProperties::Read(const pugi::xml_node& resource) {
  const std::string_view kind = ThreeMfName(resource.name());
  const std::uint32_t id = ThreeMfIndex(ThreeMfAttribute(resource, "id"));
  if (kind == "texture2d") return ReadPicture(resource, id);
  Looks looks;
  if (kind == "basematerials" || kind == "colorgroup") {
    const char* const key = kind == "colorgroup" ? "color" : "displaycolor";
    for (const pugi::xml_node& color : resource.children()) {
      looks.push_back({ColorOf(ThreeMfAttribute(color, key)), -1, {0, 0}});
    }
  } else if (kind == "texture2dgroup") {
    ReadCoordinates(resource, looks);
  } else if (kind == "compositematerials") {
    ReadComposites(resource, looks);
  } else if (kind == "multiproperties") {
    ReadLayers(resource, looks);
  } else {
    return;
  }
  m_groups[id] = std::move(looks);
}

void ThreeMfProperties::ReadPicture(const pugi::xml_node& node, std::uint32_t id) {
  ThreeMfPicture picture;
  picture.part = ThreeMfAttribute(node, "path");
  const TileStyle u = StyleOf(ThreeMfAttribute(node, "tilestyleu"));
  const TileStyle v = StyleOf(ThreeMfAttribute(node, "tilestylev"));
  picture.use.wrapU = u.wrap;
  picture.use.wrapV = v.wrap;
  picture.use.isNearest = ThreeMfAttribute(node, "filter") == "nearest";
  picture.endsU = u.ends;
  picture.endsV = v.ends;
  m_pictureNumbers[id] = static_cast<int>(m_pictures.size());
  m_pictures.push_back(std::move(picture));
}

void ThreeMfProperties::ReadCoordinates(const pugi::xml_node& node, Looks& looks) const {
  const auto picture = m_pictureNumbers.find(ThreeMfIndex(ThreeMfAttribute(node, "texid")));
  for (const pugi::xml_node& place : node.children()) {
    const double u = ThreeMfNumber(ThreeMfAttribute(place, "u"));
    const double v = ThreeMfNumber(ThreeMfAttribute(place, "v"));
    const bool isThere = picture != m_pictureNumbers.end();
    looks.push_back({isThere ? kWhite : ColorBuf{}, isThere ? picture->second : -1, TopDown(u, v)});
  }
}

/// Materials in shares of others, which need not add up to 1.
void ThreeMfProperties::ReadComposites(const pugi::xml_node& node, Looks& looks) const {
  const std::uint32_t group = ThreeMfIndex(ThreeMfAttribute(node, "matid"));
  const std::vector<std::uint32_t> members = IndicesIn(ThreeMfAttribute(node, "matindices"));
  for (const pugi::xml_node& composite : node.children()) {
    std::string_view values = ThreeMfAttribute(composite, "values");
    double sums[4] = {}, all = 0;
    for (const std::uint32_t member : members) {
      if (values.empty()) break;
      const double share = std::clamp(ThreeMfNumber(TakeWord(&values)), 0.0, 1.0);
      const ColorBuf color = At(group, member).color;
      const std::uint8_t channels[] = {color.red, color.green, color.blue, color.alpha};
      for (int c = 0; c < 4; ++c) sums[c] += share * channels[c] / 255;
      all += share;
    }
    ThreeMfLook look;
    const auto mean = [&sums, all](int c) { return ToByte(static_cast<float>(sums[c] / all)); };
    if (all > 0) look.color = {mean(0), mean(1), mean(2), mean(3)};
    looks.push_back(look);
  }
}

/// Several properties at once, the first one lowest.
void ThreeMfProperties::ReadLayers(const pugi::xml_node& node, Looks& looks) const {
  constexpr std::size_t kMostLayers = 64;
  std::vector<std::uint32_t> groups = IndicesIn(ThreeMfAttribute(node, "pids"));
  groups.resize(std::min(groups.size(), kMostLayers));
  for (const pugi::xml_node& multi : node.children()) {
    const std::vector<std::uint32_t> indices = IndicesIn(ThreeMfAttribute(multi, "pindices"));
    std::string_view methods = ThreeMfAttribute(node, "blendmethods");
    ThreeMfLook look;
    for (std::size_t i = 0; i < groups.size(); ++i) {
      const bool multiplies = i > 0 && TakeWord(&methods) == "multiply";
      Lay(At(groups[i], i < indices.size() ? indices[i] : 0), multiplies, look);
    }
    looks.push_back(look);
  }
}

ThreeMfLook ThreeMfProperties::At(std::uint32_t group, std::uint32_t index) const {
  const auto found = m_groups.find(group);
  const bool isThere =
      group != kNoThreeMfIndex && found != m_groups.end() && index < found->second.size();
  return isThere ? found->second[index] : ThreeMfLook();
}

}  // namespace hostkit
