// How large an off-screen surface can be.
#pragma once

namespace platform {

/// Whether an off-screen surface can have these sides, in pixels. Memory for one so large may still
/// be missing.
bool IsPbufferSize(int width, int height);

}  // namespace platform
