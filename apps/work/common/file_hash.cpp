// Hashes of files, for recipes.
#include "apps/work/common/file_hash.h"

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

}  // namespace gl3
