// What a picture tells about how it was made.
#include "apps/work/render/render_recipe.h"

#include <fmt/format.h>

#include <cstddef>
#include <vector>

#include "apps/work/common/file_hash.h"
#include "apps/work/common/report_json.h"

namespace gl3 {

std::vector<std::string> DescribeInputs(const std::vector<std::string>& models) {
  std::vector<std::string> inputs;
  inputs.reserve(models.size());
  for (const std::string& path : models) inputs.push_back(path + " " + HashFile(path));
  return inputs;
}

hostkit::Recipe MakeRecipe(const RecipeBase& base, const RenderOptions& options, const Shot& shot,
                           const std::string& camera) {
  if (options.recipe == RecipeKind::kNone) return {};
  hostkit::Recipe recipe = {{"gl3:command", base.command},
                            {"gl3:version", GL3_VERSION},
                            {"gl3:renderer", base.renderer},
                            {"gl3:camera", camera}};
  if (shot.camera >= 0) recipe.emplace_back("gl3:camera-name", shot.cameraName);
  if (options.sequence.IsSequence()) {
    recipe.emplace_back("gl3:frame", std::to_string(shot.frame));
    recipe.emplace_back("gl3:time", fmt::format("{}", shot.time));
  }
  for (std::size_t i = 0; i < base.inputs.size(); ++i) {
    // Names are unique, since EXR keeps one attribute a name: gl3:input, gl3:input2, ...
    const std::string number = i == 0 ? "" : std::to_string(i + 1);
    const std::size_t hash = base.inputs[i].rfind(' ');
    recipe.emplace_back(
        "gl3:input" + number,
        RecipePath(base.inputs[i].substr(0, hash), options.recipe) + base.inputs[i].substr(hash));
  }
  return recipe;
}

void AddIdNames(const RenderOptions& options, const hostkit::Scene& scene,
                hostkit::Recipe* recipe) {
  if (options.recipe == RecipeKind::kNone) return;
  if (!options.passes.object && !options.passes.material) return;
  Json objects = Json::array(), materials = Json::array();
  for (const hostkit::SceneInstance& instance : scene.instances) {
    const std::string node =
        instance.node < 0 ? "" : scene.nodeNames[static_cast<std::size_t>(instance.node)].name;
    objects.push_back(node.empty() ? scene.meshes[static_cast<std::size_t>(instance.mesh)].name
                                   : node);
  }
  for (const hostkit::SceneMaterial& material : scene.materials) materials.push_back(material.name);
  if (options.passes.object) recipe->emplace_back("gl3:objects", JsonLine(objects));
  if (options.passes.material) recipe->emplace_back("gl3:materials", JsonLine(materials));
}

std::vector<std::string> CompareInputs(const RenderOptions& options,
                                       const std::vector<std::string>& inputs) {
  const auto hashOf = [](const std::string& input) { return input.substr(input.rfind(' ') + 1); };
  std::vector<std::string> warnings;
  for (std::size_t i = 0; i < inputs.size() && i < options.recipeInputs.size(); ++i) {
    const std::string& stored = options.recipeInputs[i];
    if (hashOf(inputs[i]) == hashOf(stored)) continue;
    warnings.push_back(
        fmt::format("{}: is not the file that {} was made of ({}); the picture may "
                    "come out different",
                    options.models[i], options.like, stored));
  }
  return warnings;
}

}  // namespace gl3
