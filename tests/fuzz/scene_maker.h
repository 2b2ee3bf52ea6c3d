// Scenes out of a fuzzer's input.
#pragma once

#include "hostkit/scene/scene.h"
#include "tests/fuzz/input.h"

/// A small scene that CheckScene allows: with numbers at the edge of what floats hold unless the
/// input is tame, empty meshes, matrices that flatten, many instances, animations of one name,
/// pictures of odd sizes.
hostkit::Scene MakeScene(Input& input);
