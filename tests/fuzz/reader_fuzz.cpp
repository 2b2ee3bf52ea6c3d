// Fuzzes the readers of model files that are ours, in this process, where libFuzzer sees which ways
// an input takes through them. What comes out has to hold when it is handed over.
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "hostkit/import/amf/amf_reader.h"
#include "hostkit/import/gltf/gltf_reader.h"
#include "hostkit/import/import_pictures.h"
#include "hostkit/import/model_files.h"
#include "hostkit/import/model_reader.h"
#include "hostkit/import/obj/obj_reader.h"
#include "hostkit/import/ply/ply_reader.h"
#include "hostkit/import/stl/stl_reader.h"
#include "hostkit/import/threemf/threemf_reader.h"
#include "hostkit/scene/node_animation.h"
#include "hostkit/scene/recentre.h"
#include "hostkit/scene/scene_check.h"
#include "tests/fuzz/input.h"
#include "tests/fuzz/model_seeds.h"
#include "tests/support/common/temp_folder.h"

namespace {

const std::map<std::string, hostkit::ReadModel> kReaders = {
    {".ply", hostkit::ReadPly},   {".obj", hostkit::ReadObj},  {".stl", hostkit::ReadStl},
    {".gltf", hostkit::ReadGltf}, {".glb", hostkit::ReadGltf}, {".3mf", hostkit::ReadThreeMf},
    {".amf", hostkit::ReadAmf}};

/// The first byte of an input chooses one; the rest is the file.
const std::vector<std::string>& Kinds() {
  static const std::vector<std::string> kinds = [] {
    std::vector<std::string> suffixes;
    for (const auto& [suffix, reader] : kReaders) suffixes.push_back(suffix);
    return KindsToFuzz(suffixes);
  }();
  return kinds;
}

/// Decoders of others are not looked at here: they have the process of its own.
bool IsForDecoders(std::string_view file) {
  return file.find("draco") != file.npos || file.find("meshopt") != file.npos;
}

/// Reads, and does what follows every reader.
void ReadWith(hostkit::ReadModel read, const std::string& path) {
  const hostkit::ImportOptions options;
  const hostkit::ModelFiles files(path, options.reach);
  hostkit::Scene scene;
  hostkit::PictureStore pictures(scene, files);
  hostkit::ExactPlaces places;
  std::string error, why;
  if (!read({files, options, scene, pictures, places}, &error)) {
    if (error.empty()) return;  // another's
    RequireOneLine(error);
    Require(error.starts_with(path + ": "), "a message without the name: " + error);
    return;
  }
  if (scene.instances.empty()) return;
  SettleAtRest(scene);
  if (Recentre(scene, places, &why)) {
    Require(hostkit::CheckScene(scene, &why), "it cannot be handed over: " + why);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static TempFolder folder;
  Input input(data, size);
  const std::string& suffix = Kinds()[input.Byte() % Kinds().size()];
  const std::string name = "model" + suffix, file = input.Rest();
  if (IsForDecoders(file)) return 0;
  folder.Write(name, file);
  ReadWith(kReaders.at(suffix), folder.Path(name));
  std::filesystem::remove(folder.Path(name));
  return 0;
}

Inputs Seeds() {
  return ModelSeeds(Kinds());
}

Inputs Regressions() {
  return {};
}
