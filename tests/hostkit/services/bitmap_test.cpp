// Bitmaps: storage, scaling, and the packed pixels that textures are made from.
#include <Imath/half.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <vector>

#include "hostkit/services/bitmap_ptr.h"
#include "hostkit/services/host_heaps.h"
#include "tests/support/common/heap_faults.h"

namespace {

using Type = HBitmapBuffer::ChannelType;
using Byte = unsigned char;
using Rgba = std::array<Byte, 4>;

using Node = hostkit::BitmapPtr;
struct BlockRelease {
  void operator()(HByteBlock* block) const { block->DeleteHandle(); }
};
using Block = std::unique_ptr<HByteBlock, BlockRelease>;

/// A bitmap with a "Color" buffer filled by `pixel`.
Node MakeNode(int width, int height, const std::function<Rgba(int, int)>& pixel) {
  Node node = hostkit::NewByteBitmap(width, height);
  auto* values = static_cast<Rgba*>(node->GetBufferHead()->Data());
  for (int i = 0; i < width * height; ++i) values[i] = pixel(i % width, i / width);
  return node;
}

Rgba PixelOf(const HBitmapNode& node, int x, int y) {
  const HBitmapBuffer* buffer = node.FindBuffer("Color");
  const auto* p =
      static_cast<unsigned char*>(buffer->Data()) + x * buffer->PixelStep() + y * buffer->RowStep();
  return {p[0], p[1], p[2], p[3]};
}

class Bitmap : public testing::Test {
 protected:
  ~Bitmap() override {
    EXPECT_EQ(hostkit::CountHeaps().ext.blocks, m_before.ext.blocks);
    EXPECT_EQ(hostkit::CountHeaps().string.blocks, m_before.string.blocks);
  }
  const hostkit::HeapCounts m_before = hostkit::CountHeaps();
};

TEST_F(Bitmap, BufferSizesAreChecked) {
  const int sizes[][2] = {
      {0, 1}, {1, -1}, {INT_MIN, 4}, {INT_MAX, 1}, {1 << 29, INT_MAX}, {(1 << 29) - 1, INT_MAX}};
  Node node(new HBitmapNode(1, 1));
  for (const auto& size : sizes) {
    for (Type type : {Type::kFloatChannel, static_cast<Type>(7)}) {
      HRGBABuffer* buffer = node->CreateRGBABuffer("x", type, size[0], size[1]);
      EXPECT_EQ(buffer->AllocateData(0), 0) << size[0] << " x " << size[1];
      EXPECT_EQ(buffer->GetData(0), nullptr);
      buffer->DeleteHandle();
    }
  }
  HRGBABuffer* buffer = node->CreateRGBABuffer("x", Type::kHalfChannel, 3, 2);
  ASSERT_EQ(buffer->AllocateData(0), 1);
  auto* first = static_cast<std::uint16_t*>(buffer->GetData(0));
  EXPECT_EQ(buffer->GetData(1), first + 12);
  EXPECT_EQ(buffer->GetData(2), nullptr);
  EXPECT_EQ(buffer->GetData(-1), nullptr);
  buffer->DeleteHandle();
}

TEST_F(Bitmap, BuffersOfOneNameLieBesideEachOther) {
  const auto pixel = [](int x, int) { return Rgba{1, 2, static_cast<unsigned char>(x), 4}; };
  Node node = MakeNode(2, 1, pixel);
  const auto add = [&](const char* name) {
    HRGBABuffer* buffer = node->CreateRGBABuffer(name, Type::kHalfChannel, 2, 1);
    node->AddBuffer(buffer);
    return buffer;
  };
  HRGBABuffer* const second = add("ColorAlpha");
  node->AddBuffer(second);
  node->AddBuffer(nullptr);
  HRGBABuffer* const third = add("ColorAlpha");
  HRGBABuffer* const depth = add("Depth");
  node->AddBuffer(second);
  EXPECT_EQ(node->FindBuffer("ColorAlpha"), third);
  EXPECT_EQ(node->FindBuffer("coloralpha"), nullptr);
  EXPECT_EQ(node->GetBufferHead()->Next(), second);
  EXPECT_EQ(second->Next(), third);
  EXPECT_EQ(third->Next(), depth);
  EXPECT_EQ(depth->Next(), nullptr);

  const Node copy(node->Copy());
  EXPECT_EQ(PixelOf(*copy, 1, 0), (Rgba{1, 2, 1, 4}));
  EXPECT_NE(copy->GetBufferHead()->Data(), node->GetBufferHead()->Data());
  EXPECT_EQ(copy->GetBufferHead()->Next()->Next()->Data(), nullptr);

  const Node other = MakeNode(7, 5, pixel);
  ASSERT_EQ(other->Copy(*node), 1);
  EXPECT_EQ(other->GetWidth(), 2);
  EXPECT_EQ(other->GetHeight(), 1);
  EXPECT_EQ(PixelOf(*other, 1, 0), (Rgba{1, 2, 1, 4}));
  EXPECT_NE(other->FindBuffer("Depth"), nullptr);

  node->RemoveBuffers("none");
  node->RemoveBuffers("ColorAlpha");
  EXPECT_EQ(node->FindBuffer("ColorAlpha"), nullptr);
  EXPECT_EQ(node->GetBufferHead()->Next(), depth);
  node->RemoveBuffers("Color");
  EXPECT_EQ(node->GetBufferHead(), depth);
}

TEST_F(Bitmap, ScalingKeepsColoursAtAnySize) {
  const Rgba color{200, 100, 50, 255};
  const int sizes[][2] = {{1, 1}, {301, 101}, {7, 3}, {1, 977}, {2000, 1}, {304, 104}};
  for (const auto& from : sizes) {
    const Node node = MakeNode(from[0], from[1], [&](int, int) { return color; });
    for (const auto& to : sizes) {
      const Node scaled(node->ScaleBitmap(to[0], to[1]));
      ASSERT_EQ(scaled->GetWidth(), to[0]);
      for (int y = 0; y < to[1]; ++y) {
        for (int x = 0; x < to[0]; ++x) ASSERT_EQ(PixelOf(*scaled, x, y), color) << x << ", " << y;
      }
    }
    EXPECT_EQ(node->ScaleBitmap(0, 5), nullptr);
    EXPECT_EQ(node->ScaleBitmap(5, INT_MAX), nullptr);
  }
}

TEST_F(Bitmap, ScalingKeepsOrientationAndMean) {
  // Left half red, lower half green; shrinking by 40 goes through two steps.
  const Node node = MakeNode(400, 400, [](int x, int y) {
    return Rgba{static_cast<unsigned char>(x < 200 ? 255 : 0),
                static_cast<unsigned char>(y < 200 ? 0 : 255), 0, 255};
  });
  const Node small(node->ScaleBitmap(10, 10));
  EXPECT_EQ(PixelOf(*small, 0, 0), (Rgba{255, 0, 0, 255}));
  EXPECT_EQ(PixelOf(*small, 9, 0), (Rgba{0, 0, 0, 255}));
  EXPECT_EQ(PixelOf(*small, 0, 9), (Rgba{255, 255, 0, 255}));
  const Node one(node->ScaleBitmap(1, 1));
  EXPECT_NEAR(PixelOf(*one, 0, 0)[0], 128, 2);
  EXPECT_NEAR(PixelOf(*one, 0, 0)[1], 128, 2);
}

TEST_F(Bitmap, TransparentPixelsDoNotBleed) {
  // Opaque white beside transparent green: green must not show, whatever the size.
  const Node node = MakeNode(16, 16, [](int x, int) {
    return x < 8 ? Rgba{255, 255, 255, 255} : Rgba{0, 255, 0, 0};
  });
  for (int size : {5, 9, 33, 100}) {
    const Node scaled(node->ScaleBitmap(size, size));
    int partial = 0;
    for (int x = 0; x < size; ++x) {
      const Rgba pixel = PixelOf(*scaled, x, size / 2);
      if (pixel[3] == 0) continue;
      partial += pixel[3] < 255;
      EXPECT_EQ(pixel, (Rgba{255, 255, 255, pixel[3]})) << x << " of " << size;
    }
    EXPECT_GT(partial, 0) << size;
  }
}

TEST_F(Bitmap, HalfAndDepthBuffersScaleInTheirRange) {
  Node node(new HBitmapNode(9, 9));
  node->AddBuffer(node->CreateRGBABuffer("ColorAlpha", Type::kHalfChannel, 9, 9));
  node->AddBuffer(new HBitmapBuffer("Depth", Type::kFloatChannel, 1, 9, 9));
  HBitmapBuffer* color = node->GetBufferHead();
  HBitmapBuffer* depth = color->Next();
  ASSERT_TRUE(color->AllocateData(0) && depth->AllocateData(0));
  for (int i = 0; i < 9 * 9; ++i) {
    const Imath::half pixel[4] = {0.25f, 2.0f, 0.5f, 1.0f};
    std::copy(pixel, pixel + 4, static_cast<Imath::half*>(color->Data()) + 4 * i);
    static_cast<float*>(depth->Data())[i] = i % 2 ? -1000.0f : -1.0f;
  }
  for (auto [width, height] : {std::pair{4, 13}, std::pair{25, 2}}) {
    const Node scaled(node->ScaleBitmap(width, height));
    const auto* halves = static_cast<Imath::half*>(scaled->FindBuffer("ColorAlpha")->Data());
    const auto* depths = static_cast<float*>(scaled->FindBuffer("Depth")->Data());
    for (int i = 0; i < width * height; ++i) {
      EXPECT_NEAR(halves[4 * i], 0.25f, 1e-3);
      EXPECT_NEAR(halves[4 * i + 1], 2.0f, 1e-2);
      EXPECT_NEAR(halves[4 * i + 2], 0.5f, 1e-3);
      EXPECT_NEAR(halves[4 * i + 3], 1.0f, 1e-3);
      EXPECT_GE(depths[i], -1000.01f);
      EXPECT_LE(depths[i], -0.99f);
    }
  }
}

/// Compares byte blocks, in both orders, of a bitmap of that kind whose last pixel is transparent
/// or none.
void ExpectByteBlocks(Type type, int channels, int width, bool isTransparent) {
  SCOPED_TRACE(testing::Message() << type << " " << channels << " " << width << isTransparent);
  const bool isGray = channels < 3, hasAlpha = channels % 2 == 0;
  const int count = width * 3;
  const auto valueOf = [&](int i, int c) {
    if (!hasAlpha || c < channels - 1) return (10 * i + 7 * c) % 250;
    return isTransparent && i == count - 1 ? 254 : 255;
  };
  const Node node(new HBitmapNode(width, 3));
  auto* buffer = new HBitmapBuffer("Color", type, channels, width, 3);
  node->AddBuffer(buffer);
  ASSERT_EQ(buffer->AllocateData(0), 1);
  for (int i = 0; i < count * channels; ++i) {
    const int value = valueOf(i / channels, i % channels);
    const float share = static_cast<float>(value) / 255;
    if (type == Type::kByteChannel) static_cast<Byte*>(buffer->Data())[i] = Byte(value);
    if (type == Type::kHalfChannel) static_cast<Imath::half*>(buffer->Data())[i] = share;
    if (type == Type::kFloatChannel) static_cast<float*>(buffer->Data())[i] = share;
  }
  for (const int bgr : {0, 1}) {
    int flags = hasAlpha && isTransparent ? 4 : 5;
    const Block block(node->CreateByteBlock(1, &flags, bgr));
    const int bytes = hasAlpha && isTransparent ? 4 : 3;
    ASSERT_EQ(block->GetBytesPerPixel(), bytes);
    EXPECT_EQ(flags, bytes == 4 ? 5 : 4);
    // Floats have blue first.
    const bool isTurned = (type != Type::kByteChannel) != (bgr == 1);
    std::vector<int> expected;
    for (int i = 0; i < count; ++i) {
      for (int c : {isTurned ? 2 : 0, 1, isTurned ? 0 : 2}) {
        expected.push_back(valueOf(i, isGray ? 0 : c));
      }
      if (bytes == 4) expected.push_back(valueOf(i, channels - 1));
    }
    const Byte* packed = block->GetByteBlock();
    EXPECT_EQ(std::vector<int>(packed, packed + count * bytes), expected) << bgr;
  }
}

TEST_F(Bitmap, ByteBlocksComeOfEveryLayoutAndFollowTransparency) {
  for (const Type type : {Type::kByteChannel, Type::kHalfChannel, Type::kFloatChannel}) {
    for (const int channels : {1, 2, 3, 4}) {
      // Every width from 1 to 9 meets the ends of the word-wise loops.
      for (int width = 1; width <= 9; ++width) {
        for (const bool isTransparent : {false, true}) {
          ExpectByteBlocks(type, channels, width, isTransparent);
        }
      }
    }
  }
}

TEST_F(Bitmap, ByteBlocksOfHalfFloatsAreClampedAndRounded) {
  Node node(new HBitmapNode(2, 1));
  EXPECT_EQ(node->CreateByteBlock(0, nullptr, 0), nullptr);
  node->AddBuffer(node->CreateRGBABuffer("ColorAlpha", Type::kHalfChannel, 2, 1));
  EXPECT_EQ(node->CreateByteBlock(0, nullptr, 0), nullptr);
  ASSERT_EQ(node->GetBufferHead()->AllocateData(0), 1);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float values[8] = {0.5f, 7.0f, -1.0f, 1.0f, nan, 0.1f, 1.0f, 0.25f};  // b, g, r, a
  auto* halves = static_cast<Imath::half*>(node->GetBufferHead()->Data());
  for (int i = 0; i < 8; ++i) halves[i] = values[i];
  const Block block(node->CreateByteBlock(0, nullptr, 0));
  ASSERT_EQ(block->GetBytesPerPixel(), 4);
  const std::vector<int> expected = {0, 255, 128, 255, 255, 25, 0, 64};
  EXPECT_EQ(std::vector<int>(block->GetByteBlock(), block->GetByteBlock() + 8), expected);
}

TEST_F(Bitmap, EveryFailingAllocationEndsInNull) {
  const Node node = MakeNode(40, 40, [](int, int) { return Rgba{1, 2, 3, 4}; });
  node->AddBuffer(node->CreateRGBABuffer("ColorAlpha", Type::kHalfChannel, 40, 40));
  ASSERT_EQ(node->FindBuffer("ColorAlpha")->AllocateData(0), 1);
  std::fill_n(static_cast<std::uint16_t*>(node->FindBuffer("ColorAlpha")->Data()), 40 * 40 * 4, 0);
  const std::function<bool()> operations[] = {
      [&] { return Node(node->Copy()) != nullptr; },
      [&] { return Node(node->ScaleBitmap(1, 90)) != nullptr; },
      [&] { return Block(node->CreateByteBlock(0, nullptr, 0)) != nullptr; }};
  for (const auto& operation : operations) {
    int needed = 0;
    for (bool done = false; !done; ++needed) {
      const HeapFault fault(needed);
      done = operation();
      ASSERT_LT(needed, 100);
    }
    EXPECT_GT(needed, 2);
  }
}

}  // namespace
