// Small models of many formats, for fuzzers to start from.
#include "tests/fuzz/model_seeds.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "samples/small_models.h"
#include "tests/support/common/temp_folder.h"

namespace fs = std::filesystem;

Inputs ModelSeeds(std::span<const char* const> suffixes) {
  const TempFolder folder;
  std::string error;
  Require(samples::WriteCubes(folder.Path(""), &error) &&
              samples::WriteBumpySphere(folder.Path("sphere.glb"), 8, &error),
          error);
  std::vector<fs::path> places = {folder.Path("")};
  if (AreForFuzzing()) places.emplace_back("/usr/share/assimp/models");
  constexpr std::size_t kLargest = 20 << 10;
  Inputs seeds;
  for (const fs::path& place : places) {
    if (!fs::exists(place)) continue;
    for (const fs::directory_entry& file : fs::recursive_directory_iterator(place)) {
      const auto suffix =
          std::find(suffixes.begin(), suffixes.end(), file.path().extension().string());
      if (suffix == suffixes.end() || file.file_size() > kLargest) continue;
      std::ifstream stream(file.path(), std::ios::binary);
      seeds.push_back(static_cast<char>(suffix - suffixes.begin()) +
                      std::string(std::istreambuf_iterator<char>(stream), {}));
    }
  }
  return seeds;
}
