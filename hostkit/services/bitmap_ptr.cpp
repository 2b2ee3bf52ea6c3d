// Bitmaps with one buffer of four channels.
#include "hostkit/services/bitmap_ptr.h"

#include <utility>

namespace hostkit {
namespace {

BitmapPtr NewBitmap(const char* name, HBitmapBuffer::ChannelType type, int width, int height) {
  BitmapPtr bitmap(new HBitmapNode(width, height));
  HRGBABuffer* buffer = bitmap->CreateRGBABuffer(name, type, width, height);
  if (!buffer) return nullptr;
  bitmap->AddBuffer(buffer);
  return buffer->AllocateData(0) ? std::move(bitmap) : nullptr;
}

}  // namespace

BitmapPtr NewByteBitmap(int width, int height) {
  return NewBitmap("Color", HBitmapBuffer::kByteChannel, width, height);
}

BitmapPtr NewHalfBitmap(int width, int height) {
  return NewBitmap("ColorAlpha", HBitmapBuffer::kHalfChannel, width, height);
}

}  // namespace hostkit
