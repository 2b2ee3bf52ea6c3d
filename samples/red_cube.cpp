// A red cube as OBJ text.
#include "samples/red_cube.h"

#include <fmt/format.h>

#include <filesystem>

#include "samples/shapes.h"
#include "samples/write_file.h"

namespace samples {

bool WriteRedCubeObj(const std::string& folder, std::string* error) {
  const Shape cube = Box({1, 1, 1}, 1);
  std::string text = "mtllib cube.mtl\no cube\nusemtl red\n";
  for (const Imath::V3f& p : cube.positions) text += fmt::format("v {} {} {}\n", p.x, p.y, p.z);
  for (const Imath::V3f& n : cube.normals) text += fmt::format("vn {} {} {}\n", n.x, n.y, n.z);
  for (std::size_t i = 0; i + 2 < cube.indices.size(); i += 3) {
    const std::uint32_t* const at = &cube.indices[i];  // counted from 1 in files
    text += fmt::format("f {0}//{0} {1}//{1} {2}//{2}\n", at[0] + 1, at[1] + 1, at[2] + 1);
  }
  const std::filesystem::path in = folder;
  return WriteFile(in / "cube.obj", text, error) &&
         WriteFile(in / "cube.mtl", "newmtl red\nKd 0.8 0.1 0.1\nKs 0.5 0.5 0.5\nNs 32\nillum 2\n",
                   error);
}

}  // namespace samples
