// Hashes of files, for recipes.
#pragma once

#include <string>

namespace gl3 {

/// The hash of a file's bytes, as "xxh3:" and 16 hexadecimal digits; empty when it cannot be read.
/// It tells files apart; it is no protection against forgery.
std::string HashFile(const std::string& path);

}  // namespace gl3
