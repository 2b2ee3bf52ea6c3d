// When the module last asked the bitmaps for something: what can be known from outside about the
// steps of an effect, which is one call for its host.
#pragma once

#include <chrono>

namespace hostkit {

/// Times of the last calls on this thread; what has not happened yet stands at the clock's epoch.
struct BitmapCalls {
  using Time = std::chrono::steady_clock::time_point;
  Time bytesAsked;     ///< HBitmapNode::CreateByteBlock: an upload begins.
  Time bytesReleased;  ///< HByteBlock::DeleteHandle: it is done.
  Time bufferAsked;    ///< HBitmapNode::CreateRGBABuffer: a result is about to be written.
};

BitmapCalls& LastBitmapCalls();

}  // namespace hostkit
