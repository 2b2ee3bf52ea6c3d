// What a picture tells about how it was made.
#include "apps/gl3/work/render_recipe.h"

#include <fmt/format.h>

#include <cstddef>
#include <cstdio>
#include <memory>
#include <vector>

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace gl3 {

std::string HashFile(const std::string& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rbe"),
                                                             std::fclose);
  const std::unique_ptr<XXH3_state_t, XXH_errorcode (*)(XXH3_state_t*)> state(XXH3_createState(),
                                                                              XXH3_freeState);
  if (!file || !state || XXH3_64bits_reset(state.get()) != XXH_OK) return "";
  std::vector<char> block(1 << 18);
  while (const std::size_t count = std::fread(block.data(), 1, block.size(), file.get())) {
    XXH3_64bits_update(state.get(), block.data(), count);
  }
  if (std::ferror(file.get())) return "";
  return fmt::format("xxh3:{:016x}", XXH3_64bits_digest(state.get()));
}

std::vector<std::string> DescribeInputs(const std::vector<std::string>& models) {
  std::vector<std::string> inputs;
  inputs.reserve(models.size());
  for (const std::string& path : models) inputs.push_back(path + " " + HashFile(path));
  return inputs;
}

hostkit::Recipe MakeRecipe(const RecipeBase& base, const RenderOptions& options, const Shot& shot,
                           const std::string& camera) {
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
    recipe.emplace_back("gl3:input" + number, base.inputs[i]);
  }
  return recipe;
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
