// What the readers of single formats share: a file's bytes, positions, and finished meshes.
#pragma once

#include <Imath/ImathVec.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "hostkit/import/model_reader.h"
#include "hostkit/import/polygon_cutter.h"

namespace hostkit {

/// A file in memory.
struct FileBytes {
  std::unique_ptr<char[]> bytes;
  std::size_t size = 0;

  std::string_view Text() const { return {bytes.get(), size}; }
};

/// All bytes of a file; false when it is shorter by now than it was, or cannot be read.
bool ReadWhole(const OpenedFile& file, FileBytes* bytes);

/// The model's own bytes; false with a line in `*error`.
bool ReadModelFile(const ModelSource& source, FileBytes* bytes, std::string* error);

/// Positions of a file as the meshes have them.
struct PlacedPositions {
  std::vector<Imath::V3f> positions;
  /// Which cannot be drawn, being too large or no numbers; they lie at another one's place. Empty
  /// when all can.
  std::vector<bool> bad;

  bool IsGood(std::uint32_t position) const {
    return position < positions.size() && (bad.empty() || !bad[position]);
  }
};

/// Makes them floats. Of ones that lie far from their origin the middle is taken away first, and
/// left in `*taken`; where the file has them in world space, it becomes the scene's origin.
PlacedPositions PlacePositions(const std::vector<Imath::V3d>& positions, Imath::V3d* taken);

/// How many faces, lines and points had to be left out of a model.
struct LeftOut {
  std::size_t missing = 0;   ///< For vertices that are not there.
  std::size_t unusable = 0;  ///< For positions that cannot be drawn.

  /// Counts a face with such an index.
  void Count(std::uint32_t position, const PlacedPositions& placed) {
    ++(position < placed.positions.size() ? unusable : missing);
  }
  /// Warns of them, and of polygons that `cutter`, which may be null, had to cut anyhow.
  void Tell(const ModelSource& source, const PolygonCutter* cutter = nullptr) const;
};

/// Finishes a mesh and adds it: normals are made where there are none and there are triangles, else
/// repaired. Returns its index, -1 for a mesh of nothing, which is not added.
int AddMeshAlone(Scene& scene, SceneMesh mesh);

/// The same, and places it once.
void AddMesh(Scene& scene, SceneMesh mesh);

/// Texture coordinates with v = 0 at the image's top, of ones with v = 0 at its bottom; (0, 0)
/// where they are no numbers.
Imath::V2f TopDown(double u, double v);

}  // namespace hostkit
