// Members of glTF's JSON that are of another kind than the format has.
#include "hostkit/import/gltf/gltf_kinds.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

#include "hostkit/import/gltf/gltf_extensions.h"

namespace hostkit::gltf {
namespace {

enum Kind : unsigned { kNumber = 1, kText = 2, kFlag = 4, kList = 8, kObject = 16 };

/// By name, wherever it stands.
constexpr std::pair<std::string_view, unsigned> kKinds[] = {
    {"accessors", kList},
    {"alphaCutoff", kNumber},
    {"alphaMode", kText},
    {"animations", kList},
    {"asset", kObject},
    {"attributes", kObject},
    {"baseColorFactor", kList},
    {"baseColorTexture", kObject},
    {"buffer", kNumber},
    {"bufferView", kNumber},
    {"bufferViews", kList},
    {"buffers", kList},
    {"byteLength", kNumber},
    {"byteOffset", kNumber},
    {"byteStride", kNumber},
    {"camera", kNumber},
    {"cameras", kList},
    {"channels", kList},
    {"children", kList},
    {"color", kList},
    {"componentType", kNumber},
    {"count", kNumber},
    {"doubleSided", kFlag},
    {"emissiveFactor", kList},
    {"emissiveStrength", kNumber},
    {"emissiveTexture", kObject},
    {"extensions", kObject},
    {"extensionsRequired", kList},
    {"extensionsUsed", kList},
    {"images", kList},
    {"index", kNumber},
    {"indices", kNumber | kObject},  // of primitives, and of sparse accessors
    {"input", kNumber},
    {"intensity", kNumber},
    {"interpolation", kText},
    {"inverseBindMatrices", kNumber},
    {"joints", kList},
    {"magFilter", kNumber},
    {"material", kNumber},
    {"materials", kList},
    {"matrix", kList},
    {"mesh", kNumber},
    {"meshes", kList},
    {"metallicFactor", kNumber},
    {"name", kText},
    {"node", kNumber},
    {"nodes", kList},
    {"normalized", kFlag},
    {"offset", kList},
    {"orthographic", kObject},
    {"output", kNumber},
    {"path", kText},
    {"pbrMetallicRoughness", kObject},
    {"perspective", kObject},
    {"primitives", kList},
    {"rotation", kList | kNumber},  // of nodes, and of pictures
    {"roughnessFactor", kNumber},
    {"sampler", kNumber},
    {"samplers", kList},
    {"scale", kList | kNumber},  // of nodes and pictures, and of normal maps
    {"scene", kNumber},
    {"scenes", kList},
    {"skin", kNumber},
    {"skins", kList},
    {"source", kNumber},
    {"sparse", kObject},
    {"targets", kList},
    {"texCoord", kNumber},
    {"textures", kList},
    {"translation", kList},
    {"type", kText},
    {"uri", kText},
    {"weights", kList},
    {"wrapS", kNumber},
    {"wrapT", kNumber},
    {"yfov", kNumber},
    {"ymag", kNumber},
};
static_assert(std::is_sorted(std::begin(kKinds), std::end(kKinds)));

unsigned KindOf(Json value) {
  if (value.IsNumber()) return kNumber;
  if (value.IsText()) return kText;
  if (value.IsFlag()) return kFlag;
  if (value.IsList()) return kList;
  if (value.IsObject()) return kObject;
  return 0;
}

/// The kinds that a member of that name may have; 0 of names that the format does not know.
unsigned KindsFor(std::string_view name) {
  const auto found =
      std::lower_bound(std::begin(kKinds), std::end(kKinds), name,
                       [](const auto& known, std::string_view n) { return known.first < n; });
  return found != std::end(kKinds) && found->first == name ? found->second : 0;
}

}  // namespace

void FindOddKinds(Json root, const std::function<void(const std::string&)>& tell) {
  std::vector<Json> pending{root};
  while (!pending.empty()) {
    const Json value = pending.back();
    pending.pop_back();
    value.ForEach([&, isObject = value.IsObject()](const std::string& name, Json item) {
      if (isObject) {
        const unsigned kinds = KindsFor(name);
        if (kinds != 0 && (kinds & KindOf(item)) == 0) tell(name);
        // Extensions of others have names of their own, and so has what users add.
        const bool isOthers = name == "extras" || (name.find('_') != std::string::npos &&
                                                   SupportOf(name) != Support::kDrawn);
        if (isOthers) return;
      }
      if (item.Size() > 0) pending.push_back(item);
    });
  }
}

}  // namespace hostkit::gltf
