// What an OBJ file says, before it becomes meshes.
#pragma once

#include <Imath/ImathVec.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace hostkit {

/// Numbers of a corner's parts, counted from 0.
struct ObjCorner {
  static constexpr std::uint32_t kNone = 0xffffffff;  ///< The file gives none.
  static constexpr std::uint32_t kLost =
      0xfffffffe;  ///< There is none of the number that it gives.

  std::uint32_t position = kLost, uv = kNone, normal = kNone;
};

enum class ObjKind : std::uint8_t { kPoints, kLines, kFace };

/// What statements before it say about an element.
struct ObjState {
  static constexpr std::int64_t kUnsaid = -1;

  std::uint32_t object = 0;          ///< Index into ObjModel::objects.
  std::uint32_t material = 0;        ///< Index into ObjModel::materials.
  std::int64_t smoothing = kUnsaid;  ///< Group; 0: off.
};

struct ObjElement {
  std::uint32_t first = 0, size = 0;  ///< Its corners.
  std::uint32_t state = 0;            ///< Index into ObjModel::states.
  ObjKind kind = ObjKind::kFace;
};

struct ObjModel {
  std::vector<Imath::V3d> positions;
  std::vector<Imath::V3f> colors;  ///< As in the file; of positions behind the end: none.
  std::vector<Imath::V2f> uvs;     ///< v = 0 at the image's bottom.
  std::vector<Imath::V3f> normals;
  std::vector<ObjCorner> corners;
  std::vector<ObjElement> elements;
  std::vector<ObjState> states;
  std::vector<std::string> objects;    ///< Names of objects and groups; the first is "".
  std::vector<std::string> materials;  ///< Names; the first is "", for elements before any.
  std::vector<std::string> libraries;  ///< What stands behind "mtllib", line by line.
  std::size_t freeForms = 0;           ///< Curves and surfaces, which are not read.
  std::size_t calls = 0;  ///< Statements that name other OBJ files, which are not read.
};

/// Colour of a position that has none, in a model where others do.
inline const Imath::V3f kNoObjColor(-1, -1, -1);

/// Reads all statements. What is none is passed over.
void ReadObjModel(std::string_view text, ObjModel* model);

}  // namespace hostkit
