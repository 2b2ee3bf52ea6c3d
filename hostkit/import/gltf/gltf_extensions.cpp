// Which extensions of glTF 2.0 are known.
#include "hostkit/import/gltf/gltf_extensions.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace hostkit::gltf {
namespace {

constexpr std::pair<std::string_view, Support> kKnown[] = {
    {"EXT_mesh_gpu_instancing", Support::kDrawn},
    {"EXT_meshopt_compression", Support::kDrawn},
    {"EXT_texture_webp", Support::kDrawn},
    {"KHR_draco_mesh_compression", Support::kDrawn},
    {"KHR_lights_punctual", Support::kDrawn},
    {"KHR_materials_emissive_strength", Support::kDrawn},
    {"KHR_materials_pbrSpecularGlossiness", Support::kDrawn},
    {"KHR_materials_transmission", Support::kDrawn},
    {"KHR_materials_unlit", Support::kDrawn},
    {"KHR_mesh_quantization", Support::kDrawn},
    {"KHR_node_visibility", Support::kDrawn},
    {"KHR_texture_transform", Support::kDrawn},
    {"EXT_feature_metadata", Support::kHarmless},
    {"EXT_instance_features", Support::kHarmless},
    {"EXT_mesh_features", Support::kHarmless},
    {"EXT_structural_metadata", Support::kHarmless},
    {"KHR_audio_emitter", Support::kHarmless},
    {"KHR_materials_ior", Support::kHarmless},  // of refraction, which is not drawn
    {"KHR_materials_variants", Support::kHarmless},
    {"KHR_node_hoverability", Support::kHarmless},
    {"KHR_node_selectability", Support::kHarmless},
    {"KHR_physics_rigid_bodies", Support::kHarmless},
    {"KHR_xmp", Support::kHarmless},
    {"KHR_xmp_json_ld", Support::kHarmless},
    {"MSFT_lod", Support::kHarmless},  // nodes themselves are their finest level
    {"VRM", Support::kHarmless},       // people, and materials beside those of glTF
    {"VRMC_node_constraint", Support::kHarmless},
    {"VRMC_springBone", Support::kHarmless},
    {"VRMC_vrm", Support::kHarmless},
};

}  // namespace

Support SupportOf(std::string_view extension) {
  const auto found = std::find_if(std::begin(kKnown), std::end(kKnown),
                                  [&](const auto& known) { return known.first == extension; });
  return found == std::end(kKnown) ? Support::kNone : found->second;
}

}  // namespace hostkit::gltf
