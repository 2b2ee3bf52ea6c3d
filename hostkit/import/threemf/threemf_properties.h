// Colours and pictures that the triangles of a 3MF package name.
#pragma once

#include <Imath/ImathVec.h>

#include <cstdint>
#include <map>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "host/Colors.h"
#include "hostkit/import/import_pictures.h"

namespace hostkit {

constexpr std::uint32_t kNoThreeMfIndex = 0xffffffff;

/// The value of an attribute, whatever its prefix; "" where there is none.
std::string_view ThreeMfAttribute(const pugi::xml_node& node, std::string_view name);
/// The name without the prefix that stands for its namespace.
std::string_view ThreeMfName(const char* name);
/// A whole number from 0, or kNoThreeMfIndex.
std::uint32_t ThreeMfIndex(std::string_view text);

/// A picture of a package.
struct ThreeMfPicture {
  std::string part;
  PictureUse use;
  bool endsU = false, endsV = false;  ///< What is beyond its edges has none of it.
};

/// What a corner shows.
struct ThreeMfLook {
  ColorBuf color;       ///< Alpha 0: none is given. It multiplies the picture's.
  int picture = -1;     ///< Of the package, or -1.
  Imath::V2f uv{0, 0};  ///< v = 0 at the picture's top.
};

/// The properties of one part of a package: groups of looks, by their numbers.
class ThreeMfProperties {
 public:
  /// `pictures` gets those of the part behind those of others, and must outlive this.
  explicit ThreeMfProperties(std::vector<ThreeMfPicture>& pictures) : m_pictures(pictures) {}

  /// Reads a resource, if it is one of these. They name only such as stand before them.
  void Read(const pugi::xml_node& resource);

  /// That of an entry of a group; one without anything where there is none.
  ThreeMfLook At(std::uint32_t group, std::uint32_t index) const;

 private:
  using Looks = std::vector<ThreeMfLook>;

  void ReadPicture(const pugi::xml_node& node, std::uint32_t id);
  void ReadCoordinates(const pugi::xml_node& node, Looks& looks) const;
  void ReadComposites(const pugi::xml_node& node, Looks& looks) const;
  void ReadLayers(const pugi::xml_node& node, Looks& looks) const;

  std::vector<ThreeMfPicture>& m_pictures;
  std::map<std::uint32_t, int> m_pictureNumbers;  ///< By the number of the resource.
  std::map<std::uint32_t, Looks> m_groups;
};

}  // namespace hostkit
