// What a picture tells about how it was made.
#include "apps/gl3/work/render_recipe.h"

#include <fmt/format.h>

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

hostkit::Recipe MakeRecipe(const RenderOptions& options, const std::string& command,
                           const std::string& renderer, const std::string& camera) {
  hostkit::Recipe recipe = {{"gl3:command", command},
                            {"gl3:version", GL3_VERSION},
                            {"gl3:renderer", renderer},
                            {"gl3:camera", camera}};
  for (std::size_t i = 0; i < options.models.size(); ++i) {
    // Names are unique, since EXR keeps one attribute a name: gl3:input, gl3:input2, ...
    const std::string number = i == 0 ? "" : std::to_string(i + 1);
    const std::string& path = options.models[i];
    recipe.emplace_back("gl3:input" + number, path + " " + HashFile(path));
  }
  return recipe;
}

}  // namespace gl3
