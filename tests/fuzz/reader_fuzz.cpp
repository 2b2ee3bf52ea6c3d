// Fuzzes the readers of model files that are ours, in this process, where libFuzzer sees which ways
// an input takes through them. What comes out has to hold when it is handed over.
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "hostkit/import/model_import.h"
#include "hostkit/scene/scene_check.h"
#include "tests/fuzz/input.h"
#include "tests/fuzz/model_seeds.h"
#include "tests/support/common/temp_folder.h"

namespace {

// The first byte of an input chooses one; the rest is the file. New ones go to the end.
constexpr const char* kSuffixes[] = {".ply", ".obj", ".stl", ".gltf", ".glb", ".3mf", ".amf"};

/// Libraries are not looked at here: what they decode is for the process of its own.
bool IsForLibraries(const std::string& file) {
  return file.find("draco") != std::string::npos || file.find("meshopt") != std::string::npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static TempFolder folder;
  Input input(data, size);
  const std::string path = folder.Path(std::string("model") + input.OneOf(kSuffixes));
  const std::string file = input.Rest();
  if (IsForLibraries(file)) return 0;
  folder.Write(std::filesystem::path(path).filename(), file);
  std::string error, why;
  const std::unique_ptr<hostkit::Scene> scene = hostkit::ImportModel(path, &error);
  std::filesystem::remove(path);
  if (scene) {
    Require(hostkit::CheckScene(*scene, &why), "it cannot be handed over: " + why);
    return 0;
  }
  RequireOneLine(error);
  Require(error.starts_with(path + ": "), "a message without the name: " + error);
  return 0;
}

Inputs Seeds() {
  return ModelSeeds(kSuffixes);
}

Inputs Regressions() {
  return {};
}
