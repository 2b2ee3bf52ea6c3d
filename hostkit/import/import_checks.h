// What the import library has read, looked over before anything follows its indices.
#pragma once

#include <cstddef>
#include <string>

struct aiScene;

namespace hostkit {

/// Makes a scene safe to go over: takes out faces that have no vertices or name ones that their
/// mesh does not have, and puts empty objects in the place of missing ones. A mesh that loses all
/// its faces loses its vertices too, so that they are not taken for a cloud of points. Which kinds
/// of faces a mesh has is told as they are. Returns how many faces were taken out.
std::size_t CheckSource(aiScene& source);

/// One line that tells how many faces are left out of the model at `path` for vertices that are not
/// there, or that cannot be drawn.
std::string MissingVerticesText(const std::string& path, std::size_t count);
std::string UnusableVerticesText(const std::string& path, std::size_t count);

}  // namespace hostkit
