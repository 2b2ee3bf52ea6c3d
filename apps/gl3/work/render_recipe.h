// What a picture tells about how it was made.
#pragma once

#include <string>

#include "apps/gl3/render_options.h"
#include "hostkit/scene/picture.h"

namespace gl3 {

/// The hash of a file's bytes, as "xxh3:" and 16 hexadecimal digits; empty when it cannot be read.
/// It tells files apart; it is no protection against forgery.
std::string HashFile(const std::string& path);

/// The recipe of a picture: the command line, version, renderer, camera (as DescribeCamera says),
/// and each model's path with its hash. Files that a model refers to are not hashed.
hostkit::Recipe MakeRecipe(const RenderOptions& options, const std::string& command,
                           const std::string& renderer, const std::string& camera);

}  // namespace gl3
