// Scenes as plain bytes, to go from one process to another of the same build.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "hostkit/scene/scene.h"

namespace hostkit {

/// How many bytes WriteScene writes for this scene.
std::size_t CountSceneBytes(const Scene& scene);

/// Writes the scene to `to`, which has room for CountSceneBytes. The bytes are in the machine's own
/// order and hold no pointers; what names and numbers they have is the writer's affair.
void WriteScene(const Scene& scene, unsigned char* to);

/// The scene that `size` bytes at `bytes` hold. They may come from anyone: null when they are no
/// whole scene or one that CheckScene refuses, and then `*why` says what is wrong.
std::unique_ptr<Scene> ReadScene(const unsigned char* bytes, std::size_t size, std::string* why);

}  // namespace hostkit
