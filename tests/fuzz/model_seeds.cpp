// Small models of many formats, for fuzzers to start from.
#include "tests/fuzz/model_seeds.h"

#include <strings.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "samples/small_models.h"
#include "tests/support/common/temp_folder.h"

namespace fs = std::filesystem;

namespace {

std::vector<fs::path> FilesOf(const fs::path& place, const std::string& suffix) {
  std::vector<fs::path> files;
  for (const fs::directory_entry& file : fs::recursive_directory_iterator(place)) {
    if (strcasecmp(file.path().extension().c_str(), suffix.c_str()) == 0) files.push_back(file);
  }
  const auto isSmaller = [](const fs::path& a, const fs::path& b) {
    return std::pair(fs::file_size(a), a) < std::pair(fs::file_size(b), b);
  };
  std::sort(files.begin(), files.end(), isSmaller);
  return files;
}

/// Those that are small or, where none is, the smallest one unless it is too large for any input.
std::vector<fs::path> SmallFilesOf(const fs::path& place, const std::string& suffix) {
  constexpr std::size_t kSmall = 20 << 10, kLargest = 400 << 10;
  std::vector<fs::path> files = FilesOf(place, suffix);
  if (files.empty() || fs::file_size(files.front()) > kLargest) return {};
  const auto large = std::find_if(files.begin() + 1, files.end(), [](const fs::path& file) {
    return fs::file_size(file) > kSmall;
  });
  files.erase(large, files.end());
  return files;
}

}  // namespace

std::vector<std::string> KindsToFuzz(std::vector<std::string> suffixes) {
  const char* const kind = std::getenv("GL3_FUZZ_KIND");
  if (!kind) return suffixes;
  if (std::find(suffixes.begin(), suffixes.end(), kind) == suffixes.end()) {
    std::fprintf(stderr, "GL3_FUZZ_KIND: '%s' is none of the kinds that this fuzzer reads:", kind);
    for (const std::string& suffix : suffixes) std::fprintf(stderr, " %s", suffix.c_str());
    std::fprintf(stderr, "\n");
    std::exit(2);
  }
  return {kind};
}

Inputs ModelSeeds(const std::vector<std::string>& suffixes) {
  const TempFolder folder;
  std::string error;
  Require(samples::WriteCubes(folder.Path(""), &error) &&
              samples::WriteBumpySphere(folder.Path("sphere.glb"), 8, &error),
          error);
  std::vector<fs::path> places = {folder.Path("")};
  if (AreForFuzzing()) places.emplace_back("/usr/share/assimp/models");
  Inputs seeds;
  for (std::size_t kind = 0; kind < suffixes.size(); ++kind) {
    for (const fs::path& place : places) {
      if (!fs::exists(place)) continue;
      for (const fs::path& path : SmallFilesOf(place, suffixes[kind])) {
        std::ifstream file(path, std::ios::binary);
        seeds.push_back(static_cast<char>(kind) +
                        std::string(std::istreambuf_iterator<char>(file), {}));
      }
    }
  }
  return seeds;
}
