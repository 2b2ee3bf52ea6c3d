// A sample that moves: planets on turning arms around a lamp.
#pragma once

#include "samples/glb_writer.h"

namespace samples {

/// A hub with arms inside one another's space, a moon on the outer planet, a lamp that rises and
/// sinks. Cameras "wide" and "above" stand; "rider" travels on the outer arm and looks at the hub.
/// Animations: "Orbits" (4 seconds, ends where it began) and "Rise" (2 seconds).
Document Orrery();

}  // namespace samples
