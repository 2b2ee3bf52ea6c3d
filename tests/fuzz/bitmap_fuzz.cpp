// Fuzzes the host's bitmaps: copies, scaling and packed pixels of any size, channel type and
// content.
#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>

#include "hostkit/services/bitmap_ptr.h"
#include "hostkit/services/host_heaps.h"
#include "tests/fuzz/input.h"

namespace {

using hostkit::BitmapPtr;
struct Release {
  void operator()(HByteBlock* block) const { block->DeleteHandle(); }
};
using BlockPtr = std::unique_ptr<HByteBlock, Release>;

constexpr std::size_t kElementSizes[] = {1, 4, 2};  // by channel type

std::size_t Bytes(const HBitmapBuffer& buffer) {
  return static_cast<std::size_t>(buffer.RowStep()) * static_cast<std::size_t>(buffer.Height()) *
         kElementSizes[buffer.Type()];
}

/// Fills a buffer with a few input bytes over and over.
void Fill(Input& input, HBitmapBuffer& buffer) {
  std::string pattern = input.Text(1 + static_cast<std::size_t>(input.Below(24)));
  if (pattern.empty()) pattern = "\xff";
  auto* bytes = static_cast<char*>(buffer.Data());
  for (std::size_t i = 0, n = Bytes(buffer); i < n; ++i) bytes[i] = pattern[i % pattern.size()];
}

/// Mostly small. A long side never meets another one.
int Side(Input& input, int other = 1) {
  constexpr int kOdd[] = {0, -1, 1, 1500, INT_MIN, 257, 2, 1023};
  const int side = input.Byte();
  return side < 248 || other > 70 ? 1 + side % 70 : kOdd[side - 248];
}

void AddBuffer(Input& input, HBitmapNode& node) {
  constexpr const char* kNames[] = {"Color", "ColorAlpha", "Depth", ""};
  constexpr int kChannels[] = {4, 3, 1, 2, 5, 4, 64, 65, 0, -1};
  const auto type = static_cast<HBitmapBuffer::ChannelType>(input.Below(3));
  const int channels = input.OneOf(kChannels);
  const bool ownSize = input.Below(8) == 7;
  const int width = ownSize ? Side(input) : node.GetWidth();
  const int height = ownSize ? Side(input, width) : node.GetHeight();
  const char* name = input.OneOf(kNames);
  HBitmapBuffer* buffer = channels == 4 ? node.CreateRGBABuffer(name, type, width, height)
                                        : new HBitmapBuffer(name, type, channels, width, height);
  node.AddBuffer(buffer);
  if (input.Below(8) == 7) return;  // without storage
  const int allocated = buffer->AllocateData(0);
  Require(!allocated || (width > 0 && height > 0 && channels > 0), "storage without pixels");
  if (allocated) Fill(input, *buffer);
}

void CheckBlock(Input& input, HBitmapNode& node) {
  const int wrap = input.Int();
  int flags = input.Int();
  const int other = flags & ~1;
  const bool bgr = input.Flag();
  const BlockPtr block(node.CreateByteBlock(wrap, &flags, bgr));
  if (!block) return;
  Require((flags & ~1) == other, "a flag that is not the block's changed");
  const int step = block->GetBytesPerPixel();
  Require(step == (flags & 1 ? 4 : 3), "pixel size and transparency differ");
  const std::size_t pixels =
      static_cast<std::size_t>(node.GetWidth()) * static_cast<std::size_t>(node.GetHeight());
  const unsigned char* packed = block->GetByteBlock();
  int lowest = 255;
  for (std::size_t i = 0; step == 4 && i < pixels; ++i) {
    lowest = std::min<int>(lowest, packed[4 * i + 3]);
  }
  Require(step == 3 || lowest < 255, "an opaque picture with alpha");
  const HBitmapBuffer* color = node.FindBuffer("Color");
  if (!color || !color->Data() || color->Channels() < 3 || color->Width() != node.GetWidth() ||
      color->Height() != node.GetHeight() || color->Type() != HBitmapBuffer::kByteChannel) {
    return;
  }
  const auto* from = static_cast<const unsigned char*>(color->Data());
  for (std::size_t i = 0; i < pixels; ++i, from += color->Channels(), packed += step) {
    Require(
        packed[0] == from[bgr ? 2 : 0] && packed[1] == from[1] && packed[2] == from[bgr ? 0 : 2],
        "packed pixels of other colours");
  }
}

/// Every buffer of `from` must be in `to`, at its size; scaled bytes of one channel stay within the
/// range of their source.
void CheckScaled(const HBitmapNode& from, const HBitmapNode& to) {
  const HBitmapBuffer* scaled = to.GetBufferHead();
  for (const HBitmapBuffer* buffer = from.GetBufferHead(); buffer;
       buffer = buffer->Next(), scaled = scaled->Next()) {
    Require(scaled && scaled->Width() == to.GetWidth() && scaled->Height() == to.GetHeight() &&
                scaled->Channels() == buffer->Channels() && scaled->Type() == buffer->Type() &&
                !scaled->Data() == !buffer->Data(),
            "a scaled buffer of another kind");
    if (!scaled->Data() || buffer->Type() != HBitmapBuffer::kByteChannel || buffer->Channels() == 4)
      continue;
    const auto* source = static_cast<const unsigned char*>(buffer->Data());
    const auto* result = static_cast<const unsigned char*>(scaled->Data());
    const auto range = std::minmax_element(source, source + Bytes(*buffer));
    const auto now = std::minmax_element(result, result + Bytes(*scaled));
    Require(*now.first >= *range.first && *now.second <= *range.second,
            "scaled bytes beyond the range of their source");
  }
}

void CheckCopy(const HBitmapNode& node) {
  const BitmapPtr copy(node.Copy());
  Require(copy != nullptr, "no copy");
  const HBitmapBuffer* copied = copy->GetBufferHead();
  for (const HBitmapBuffer* buffer = node.GetBufferHead(); buffer; buffer = buffer->Next()) {
    Require(copied && copied->Width() == buffer->Width() && !copied->Data() == !buffer->Data(),
            "a copy of another kind");
    Require(!buffer->Data() || std::memcmp(copied->Data(), buffer->Data(), Bytes(*buffer)) == 0,
            "a copy with other pixels");
    copied = copied->Next();
  }
}

void Play(Input& input) {
  const int width = Side(input);
  const int height = Side(input, width);
  const BitmapPtr node(new HBitmapNode(width, height));
  for (int i = 1 + input.Below(3); i > 0; --i) AddBuffer(input, *node);
  CheckBlock(input, *node);
  CheckCopy(*node);
  const int scaledWidth = Side(input);
  const int scaledHeight = Side(input, scaledWidth);
  const BitmapPtr scaled(node->ScaleBitmap(scaledWidth, scaledHeight));
  Require(!scaled || (scaledWidth > 0 && scaledHeight > 0), "scaled to no size");
  if (!scaled) return;
  CheckScaled(*node, *scaled);
  CheckBlock(input, *scaled);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const hostkit::HeapCounts before = hostkit::CountHeaps();
  Input input(data, size);
  Play(input);
  const hostkit::HeapCounts after = hostkit::CountHeaps();
  Require(after.ext.blocks == before.ext.blocks && after.string.blocks == before.string.blocks,
          "memory is left behind");
  return 0;
}

Inputs Seeds() {
  return {"",
          std::string("\x0f\x0f\x00\x00\x00\x00\x00\x00\x08\x01\x02\x03\x04\x05\x06\x07\x08", 17),
          std::string("\x10\x03\x02\x01\x00\x01\x02\x00\x00\x00\x04\xff\x7f\x00\xff", 15) +
              std::string(20, '\x21')};
}

Inputs Regressions() {
  return {};
}
