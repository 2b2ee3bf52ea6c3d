// What a PLY file says, before it becomes meshes.
#pragma once

#include <Imath/ImathVec.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/Colors.h"
#include "hostkit/import/ply/ply_header.h"

namespace hostkit {

/// Attributes that the file does not have are empty arrays; the others have an entry a vertex.
struct PlyVertices {
  std::vector<Imath::V3d> positions;
  std::vector<Imath::V3f> normals;
  std::vector<Imath::V2f> uvs;  ///< v = 0 at the image's top, here and below.
  std::vector<ColorBuf> colors;
};

/// Faces, strips as triangles, and edges as polygons of two corners. The arrays of attributes may
/// be shorter than there are corners or polygons: what is behind their end has none.
struct PlyPolygons {
  std::vector<std::uint32_t> sizes;     ///< Corners of each polygon.
  std::vector<std::uint32_t> corners;   ///< Vertices, polygon after polygon; may be out of range.
  std::vector<Imath::V2f> uvs;          ///< One a corner.
  std::vector<ColorBuf> colors;         ///< One a polygon; alpha 0: it has none.
  std::vector<std::int32_t> pictures;   ///< One a polygon: which of the header's pictures.
  std::vector<std::int32_t> materials;  ///< One a polygon: which of the model's materials.
};

/// Display-referred.
struct PlyMaterial {
  Imath::V3f diffuse{0.8f, 0.8f, 0.8f}, specular{0, 0, 0};
  float opacity = 1, exponent = 0;
};

struct PlyModel {
  PlyVertices vertices;
  PlyPolygons polygons;
  std::vector<PlyMaterial> materials;
  bool hasFaces = false;  ///< There are faces, strips or edges, whether or not they can be drawn.
  /// What is wrong, and the remedy, where the file is cut off in its last element; else "".
  std::string cutOff;
};

/// Reads the values of all elements. `bytes` is the whole file. False with what is wrong, and the
/// remedy, in `*fault`.
bool ReadPlyModel(std::string_view bytes, const PlyHeader& header, PlyModel* model,
                  std::string* fault);

}  // namespace hostkit
