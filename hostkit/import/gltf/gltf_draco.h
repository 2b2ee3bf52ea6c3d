// Geometry that KHR_draco_mesh_compression packs.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "hostkit/import/gltf/gltf_accessors.h"

namespace hostkit::gltf {

/// An unpacked primitive of triangles.
struct DracoGeometry {
  std::vector<std::uint32_t> indices;
  std::map<std::string, Accessor> attributes;     ///< By their glTF names.
  std::vector<std::unique_ptr<float[]>> numbers;  ///< What those point to.
};

/// Unpacks `packed`. `primitive` names the attributes and their numbers, and `accessors` tells
/// whether whole numbers are normalised. Null where it is broken.
std::unique_ptr<DracoGeometry> DecodeDraco(Json primitive, Json accessors, Bytes packed);

}  // namespace hostkit::gltf
