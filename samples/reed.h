// A sample whose vertices move: a reed in the wind.
#pragma once

#include "samples/glb_writer.h"

namespace samples {

constexpr int kReedJoints = 6;
constexpr float kReedHeight = 2;
constexpr float kReedBend = 0.2f;  ///< Radians that each joint turns at most.

/// A reed on the origin, skinned to joints one above the other at even distances, which all turn to
/// +x by kReedBend after a second, and back and as far to -x. Animation: "Wind" (4 seconds, ends
/// where it began).
Document Reed();

}  // namespace samples
