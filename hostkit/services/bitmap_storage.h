// What the bitmap's own files share: storage sizes and scaling. Private to the services.
#pragma once

#include <cstddef>

#include "host/Bitmap.h"

namespace hostkit {

/// Bytes of one element of a channel type; 0 for no such type.
std::size_t ElementSize(HBitmapBuffer::ChannelType type);

/// Bytes of a buffer's storage; 0 when a side is not positive or the size is beyond a size_t.
std::size_t StorageSize(const HBitmapBuffer& buffer);

/// An empty buffer with the name, type and channels of `model`, of another size, released with
/// DeleteHandle; null without memory. Four channels give an HRGBABuffer.
HBitmapBuffer* NewBufferLike(const HBitmapBuffer& model, int width, int height);

/// A copy of `buffer` scaled to the given size (both positive), released with DeleteHandle. A
/// buffer without storage gives one without storage. Null without memory, and for rows of more
/// than four million elements.
HBitmapBuffer* ScaleBuffer(const HBitmapBuffer& buffer, int width, int height);

}  // namespace hostkit
