// The arrays of a binary glTF file, where they lie in it: what reading its bytes costs.
#pragma once

#include <vector>

namespace bare {

/// One mesh, as make_samples writes it: floats and 32-bit indices. Pointers into `bytes`.
struct GlbMesh {
  std::vector<char> bytes;
  const float* positions = nullptr;
  const float* normals = nullptr;
  const unsigned* indices = nullptr;
  unsigned vertices = 0, corners = 0;
};

/// False when there is no such file.
bool ReadGlb(const char* path, GlbMesh* mesh);

}  // namespace bare
