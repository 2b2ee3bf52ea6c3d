// STL files of text.
#pragma once

#include <Imath/ImathVec.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace hostkit {

struct StlLoop {
  std::size_t first = 0;   ///< Its first corner.
  std::uint32_t size = 0;  ///< Corners; three in good files.
  Imath::V3f normal{0, 0, 0};
};

struct StlSolid {
  std::string name;
  std::vector<StlLoop> loops;
};

struct StlText {
  std::vector<Imath::V3d> corners;
  std::vector<StlSolid> solids;
};

/// Reads the text; words may be in any case. False with what is wrong, and the remedy, in `*fault`.
bool ReadStlText(std::string_view text, StlText* read, std::string* fault);

}  // namespace hostkit
