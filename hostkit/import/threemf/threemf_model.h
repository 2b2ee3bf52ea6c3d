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

#include "host/Colors.h"
#include "hostkit/import/archive.h"

namespace hostkit {

/// An object's name in a package: the part that it is in, and its number there.
using ThreeMfId = std::pair<std::string, std::uint32_t>;

struct ThreeMfTriangle {
  std::uint32_t corners[3];
  /// Colours of the corners; alpha 0: none is given.
  ColorBuf colors[3];
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
  std::vector<ThreeMfUse> items;  ///< What is built.
  std::size_t pictures = 0;       ///< Triangles with pictures on them, which are not read.
  std::size_t missingParts = 0;   ///< Parts that others name and that cannot be read.
  double metersPerUnit = 0.001;   ///< Of its coordinates.
};

/// Reads the model of a package, in millimetres or whatever its unit is. False with what is wrong,
/// and the remedy, in `*fault`.
bool ReadThreeMfModel(const Archive& archive, ThreeMfModel* model, std::string* fault);

}  // namespace hostkit
