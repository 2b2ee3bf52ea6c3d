// How large an off-screen surface can be.
#pragma once

namespace platform {

/// Whether an off-screen surface of that many pixels can be made and drawn to its far corner.
bool IsPbufferSize(int width, int height);

}  // namespace platform
