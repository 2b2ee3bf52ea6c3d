// What a 3MF package says, before it becomes a scene.
#pragma once

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/import/archive.h"
#include "hostkit/import/threemf/threemf_properties.h"

namespace hostkit {

/// An object's name in a package: the part that it is in, and its number there.
using ThreeMfId = std::pair<std::string, std::uint32_t>;

struct ThreeMfTriangle {
  std::uint32_t corners[3];
  ThreeMfLook looks[3];  ///< Of the corners. The first one's picture is the triangle's.
};

/// A placement of an object, in another or in the world.
struct ThreeMfUse {
  ThreeMfId object;
  Imath::M44d place;
};

struct ThreeMfObject {
  std::string name;
  std::vector<Imath::V3d> positions;
  std::vector<ThreeMfTriangle> triangles;
  std::vector<ThreeMfUse> components;
};

struct ThreeMfModel {
  std::map<ThreeMfId, ThreeMfObject> objects;
  std::vector<ThreeMfPicture> pictures;
  std::vector<ThreeMfUse> items;  ///< What is built.
  std::size_t missingParts = 0;   ///< Parts that others name and that cannot be read.
};

/// Reads a part of a package, named with or without a leading slash. False when it cannot be read,
/// or has more than `mostBytes`.
bool ReadThreeMfPart(const Archive& archive, const std::string& part, std::uint64_t mostBytes,
                     std::string* bytes);

/// Reads the model of a package, in millimetres or whatever its unit is. False with what is wrong,
/// and the remedy, in `*fault`.
bool ReadThreeMfModel(const Archive& archive, ThreeMfModel* model, std::string* fault);

}  // namespace hostkit
