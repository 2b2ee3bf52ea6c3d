// The host's images: bitmaps and their buffers.
#include "host/Bitmap.h"

#include <chrono>
#include <cstddef>
#include <cstring>
#include <new>
#include <utility>

#include "host/Heaps.h"
#include "hostkit/services/bitmap_calls.h"
#include "hostkit/services/bitmap_storage.h"
#include "hostkit/services/ext_heap.h"

namespace hostkit {

std::size_t ElementSize(HBitmapBuffer::ChannelType type) {
  switch (type) {
    case HBitmapBuffer::kByteChannel:
      return 1;
    case HBitmapBuffer::kHalfChannel:
      return 2;
    case HBitmapBuffer::kFloatChannel:
      return 4;
  }
  return 0;
}

std::size_t StorageSize(const HBitmapBuffer& buffer) {
  if (buffer.Width() <= 0 || buffer.Height() <= 0 || buffer.RowStep() <= 0) return 0;
  std::size_t size = 0;
  if (__builtin_mul_overflow(static_cast<std::size_t>(buffer.RowStep()),
                             static_cast<std::size_t>(buffer.Height()), &size) ||
      __builtin_mul_overflow(size, ElementSize(buffer.Type()), &size)) {
    return 0;
  }
  return size;
}

HBitmapBuffer* NewBufferLike(const HBitmapBuffer& model, int width, int height) {
  HBitmapBuffer* buffer = nullptr;
  if (model.Channels() == 4) {
    buffer = new (std::nothrow) HRGBABuffer(model.Name(), model.Type(), 4, width, height);
  } else {
    buffer = new (std::nothrow)
        HBitmapBuffer(model.Name(), model.Type(), model.Channels(), width, height);
  }
  if (buffer && buffer->Name().IsEmpty() != model.Name().IsEmpty()) {
    buffer->DeleteHandle();
    return nullptr;
  }
  return buffer;
}

}  // namespace hostkit

namespace {

/// A copy of `buffer` with its content; null without memory.
HBitmapBuffer* CopyBuffer(const HBitmapBuffer& buffer) {
  HBitmapBuffer* copy = hostkit::NewBufferLike(buffer, buffer.Width(), buffer.Height());
  if (!copy || !buffer.Data()) return copy;
  if (!copy->AllocateData(0)) {
    copy->DeleteHandle();
    return nullptr;
  }
  std::memcpy(copy->Data(), buffer.Data(), hostkit::StorageSize(buffer));
  return copy;
}

bool SameName(const String& a, const String& b) {
  return std::strcmp(a.Text(), b.Text()) == 0;
}

}  // namespace

void HTreeObject::DeleteHandle() {
  delete this;
}

HTreeObject::~HTreeObject() = default;

void HByteBlock::DeleteHandle() {
  hostkit::LastBitmapCalls().bytesReleased = std::chrono::steady_clock::now();
  delete this;
}

HByteBlock::~HByteBlock() {
  FreeExt(m_bytes);
}

HBitmapBuffer::HBitmapBuffer(const String& name, ChannelType type, int channels, int width,
                             int height)
    : m_name(name),
      m_type(type),
      m_channels(channels),
      m_width(width),
      m_height(height),
      m_pixelStep(channels),
      m_rowStep(0) {
  // A row too long for an int has step 0, for which AllocateData finds no storage.
  if (__builtin_mul_overflow(width, channels, &m_rowStep)) m_rowStep = 0;
}

HBitmapBuffer::~HBitmapBuffer() {
  FreeExt(m_data);
}

int HBitmapBuffer::AllocateData(int) {
  if (m_data) return 1;
  const std::size_t size = m_channels > 0 ? hostkit::StorageSize(*this) : 0;
  if (size > 0) m_data = hostkit::AllocExtPicture(size);
  return m_data ? 1 : 0;
}

void* HRGBABuffer::GetData(int row) {
  if (!Data() || row < 0 || row >= Height()) return nullptr;
  const std::size_t rowBytes = static_cast<std::size_t>(RowStep()) * hostkit::ElementSize(Type());
  return static_cast<unsigned char*>(Data()) + static_cast<std::size_t>(row) * rowBytes;
}

HBitmapNode::~HBitmapNode() {
  while (m_head) {
    HBitmapBuffer* next = m_head->m_next;
    m_head->DeleteHandle();
    m_head = next;
  }
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface has it by value.
HRGBABuffer* HBitmapNode::CreateRGBABuffer(String name, HBitmapBuffer::ChannelType type, int width,
                                           int height) {
  hostkit::LastBitmapCalls().bufferAsked = std::chrono::steady_clock::now();
  auto* buffer = new (std::nothrow) HRGBABuffer(name, type, 4, width, height);
  if (buffer && buffer->Name().IsEmpty() != name.IsEmpty()) {
    buffer->DeleteHandle();
    return nullptr;
  }
  return buffer;
}

void HBitmapNode::AddBuffer(HBitmapBuffer* buffer) {
  if (!buffer) return;
  HBitmapBuffer** link = &m_head;
  while (*link && *link != buffer) link = &(*link)->m_next;
  *link = buffer;
}

HBitmapBuffer* HBitmapNode::FindBuffer(const String& name) const {
  HBitmapBuffer* found = nullptr;
  for (HBitmapBuffer* buffer = m_head; buffer; buffer = buffer->m_next) {
    if (SameName(buffer->Name(), name)) found = buffer;
  }
  return found;
}

void HBitmapNode::RemoveBuffers(const String& name) {
  HBitmapBuffer** link = &m_head;
  while (HBitmapBuffer* buffer = *link) {
    if (!SameName(buffer->Name(), name)) {
      link = &buffer->m_next;
      continue;
    }
    *link = buffer->m_next;
    buffer->DeleteHandle();
  }
}

HBitmapNode* HBitmapNode::Copy() const {
  auto* copy = new (std::nothrow) HBitmapNode(m_width, m_height);
  if (!copy) return nullptr;
  for (const HBitmapBuffer* buffer = m_head; buffer; buffer = buffer->m_next) {
    HBitmapBuffer* copied = CopyBuffer(*buffer);
    if (!copied) {
      copy->DeleteHandle();
      return nullptr;
    }
    copy->AddBuffer(copied);
  }
  return copy;
}

int HBitmapNode::Copy(const HBitmapNode& source) {
  HBitmapNode* copy = source.Copy();
  if (!copy) return 0;
  m_width = copy->m_width;
  m_height = copy->m_height;
  std::swap(m_head, copy->m_head);
  copy->DeleteHandle();  // with the buffers of before
  return 1;
}

HBitmapNode* HBitmapNode::ScaleBitmap(int width, int height) {
  if (width <= 0 || height <= 0) return nullptr;
  auto* scaled = new (std::nothrow) HBitmapNode(width, height);
  if (!scaled) return nullptr;
  for (const HBitmapBuffer* buffer = m_head; buffer; buffer = buffer->m_next) {
    const bool sameSize = buffer->Width() == width && buffer->Height() == height;
    HBitmapBuffer* part =
        sameSize ? CopyBuffer(*buffer) : hostkit::ScaleBuffer(*buffer, width, height);
    if (!part) {
      scaled->DeleteHandle();
      return nullptr;
    }
    scaled->AddBuffer(part);
  }
  return scaled;
}
