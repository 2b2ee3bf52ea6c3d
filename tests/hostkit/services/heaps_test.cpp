// Heaps and strings: what they hold, and what they do when memory runs out.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "host/Heaps.h"
#include "host/String.h"
#include "hostkit/services/ext_heap.h"
#include "hostkit/services/host_heaps.h"
#include "tests/support/common/heap_faults.h"

namespace {

TEST(Heaps, EachCountsItsOwnBlocks) {
  const std::tuple<void* (*)(std::size_t), void (*)(void*),
                   hostkit::HeapCount hostkit::HeapCounts::*>
      heaps[] = {{AllocGAssist, FreeGAssist, &hostkit::HeapCounts::gassist},
                 {AllocExt, FreeExt, &hostkit::HeapCounts::ext},
                 {AllocString, FreeString, &hostkit::HeapCounts::string}};
  for (const auto& [alloc, release, heap] : heaps) {
    const hostkit::HeapCount before = hostkit::CountHeaps().*heap;
    void* const block = alloc(100);
    EXPECT_EQ((hostkit::CountHeaps().*heap).blocks, before.blocks + 1);
    EXPECT_GE((hostkit::CountHeaps().*heap).bytes, before.bytes + 100);
    for (void* each : {block, static_cast<void*>(nullptr)}) release(each);
    EXPECT_EQ((hostkit::CountHeaps().*heap).blocks, before.blocks);
    EXPECT_EQ((hostkit::CountHeaps().*heap).bytes, before.bytes);
  }
}

TEST(Heaps, OglBlocksAreZeroedAlignedAndGoTogether) {
  const hostkit::HeapCount before = hostkit::CountHeaps().ogl;
  for (int round = 0; round < 2; ++round) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
      threads.emplace_back([] {
        for (std::size_t size = 1; size < 500; ++size) {
          auto* block = static_cast<unsigned char*>(AllocOGL(size));
          ASSERT_NE(block, nullptr);
          EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignof(std::max_align_t), 0u);
          EXPECT_EQ(std::count(block, block + size, 0), static_cast<long>(size));
          std::memset(block, 0xa5, size);
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(hostkit::CountHeaps().ogl.blocks, before.blocks + 4 * 499);
    FreeOGL();
    EXPECT_EQ(hostkit::CountHeaps().ogl.blocks, before.blocks);
    EXPECT_EQ(hostkit::CountHeaps().ogl.bytes, before.bytes);
  }
  FreeOGL();
}

TEST(Heaps, LargeQueuesAreZeroAndPicturesReusedOnce) {
  constexpr std::size_t kSize = (std::size_t{9} << 20) + 5;  // no whole number of pages
  const hostkit::HeapCounts before = hostkit::CountHeaps();
  for (int round = 0; round < 2; ++round) {
    void* queue = AllocOGL(kSize);
    void* picture = hostkit::AllocExtPicture(kSize);
    void* staging = AllocExt(kSize);
    ASSERT_NE(queue, nullptr);
    const auto* bytes = static_cast<unsigned char*>(queue);
    EXPECT_EQ(std::count(bytes, bytes + kSize, 0), static_cast<long>(kSize));
    for (void* block : {queue, picture, staging}) std::memset(block, 0xa5, kSize);
    EXPECT_GE(hostkit::CountHeaps().ext.bytes, before.ext.bytes + 2 * kSize);
    FreeExt(picture);
    FreeExt(staging);
    FreeOGL();
  }
  // What the last round released is there to be had, for one block of its size.
  auto* first = static_cast<unsigned char*>(hostkit::AllocExtPicture(kSize - 1));
  auto* second = static_cast<unsigned char*>(hostkit::AllocExtPicture(kSize));
  ASSERT_TRUE(first && second);
  EXPECT_EQ(first[kSize - 2], 0xa5);
  std::memset(second, 0x5a, kSize);
  EXPECT_EQ(first[kSize - 2], 0xa5);
  FreeExt(first);
  auto* larger = static_cast<unsigned char*>(hostkit::AllocExtPicture(2 * kSize));
  ASSERT_NE(larger, nullptr);
  std::memset(larger, 0x11, 2 * kSize);
  EXPECT_EQ(second[kSize - 1], 0x5a);
  FreeExt(larger);
  FreeExt(second);
  const hostkit::HeapCounts after = hostkit::CountHeaps();
  EXPECT_EQ(after.ext.bytes, before.ext.bytes);
  EXPECT_EQ(after.ogl.bytes, before.ogl.bytes);
}

TEST(Heaps, AbsurdSizesGiveNull) {
  for (std::size_t size : {std::size_t{SIZE_MAX}, std::size_t{PTRDIFF_MAX} + 1, SIZE_MAX - 15}) {
    EXPECT_EQ(AllocGAssist(size), nullptr);
    EXPECT_EQ(AllocOGL(size), nullptr);
    EXPECT_EQ(AllocExt(size), nullptr);
    EXPECT_EQ(AllocString(size), nullptr);
  }
  EXPECT_EQ(AllocOGL(PTRDIFF_MAX), nullptr);
}

TEST(String, JoinsAndAssigns) {
  const hostkit::HeapCount before = hostkit::CountHeaps().string;
  {
    String text("ab"), empty, null(static_cast<const char*>(nullptr));
    text += text;
    EXPECT_STREQ(text.Text(), "abab");
    text += null + empty + String("c");
    EXPECT_STREQ(text.Text(), "ababc");
    String& self = text;
    text = self;
    text = std::move(self);
    EXPECT_STREQ(text.Text(), "ababc");
    String moved = std::move(text);
    EXPECT_TRUE(text.IsEmpty());
    text = moved;
    moved = empty;
    EXPECT_TRUE(moved.IsEmpty());
    EXPECT_STREQ(text.Text(), "ababc");
  }
  EXPECT_EQ(hostkit::CountHeaps().string.blocks, before.blocks);
}

TEST(String, FindsAndCutsAtAnyIndex) {
  const String text("GL_ARB_a GL_EXT_b");
  EXPECT_EQ(text.Find(String("GL_EXT")), 9);
  EXPECT_EQ(text.Find(String("gl_ext")), -1);
  EXPECT_EQ(text.Find(String()), 0);
  EXPECT_EQ(String().Find(text), -1);
  EXPECT_EQ(text.Find(1, 'G'), 9);
  EXPECT_EQ(text.Find(-5, 'G'), 0);
  EXPECT_EQ(text.Find(16, 'b'), 16);
  for (int start : {17, 18, INT_MAX}) EXPECT_EQ(text.Find(start, 'b'), -1);
  EXPECT_EQ(text.Find(0, '\0'), -1);
  EXPECT_EQ(text.ReverseFind('_'), 15);
  EXPECT_EQ(text.ReverseFind('\0'), -1);
  EXPECT_EQ(String().ReverseFind('a'), -1);
  EXPECT_STREQ(text.Mid(3, 3).Text(), "ARB");
  EXPECT_STREQ(text.Mid(-2, 4).Text(), "GL");
  EXPECT_STREQ(text.Mid(15, INT_MAX).Text(), "_b");
  const std::pair<int, int> outside[] = {
      {17, 1}, {0, -1}, {5, INT_MIN}, {INT_MIN, INT_MAX}, {INT_MAX, INT_MAX}, {-3, 3}};
  for (auto [start, count] : outside) EXPECT_TRUE(text.Mid(start, count).IsEmpty()) << start;
}

TEST(String, IsEmptyWithoutMemory) {
  String text("abc"), other("def");
  const HeapFault fault(0);
  EXPECT_TRUE((text + other).IsEmpty());
  EXPECT_TRUE(String(text).IsEmpty());
  EXPECT_TRUE(text.Mid(0, 2).IsEmpty());
  text += other;
  EXPECT_TRUE(text.IsEmpty());
  other = String("ghi");
  EXPECT_TRUE(other.IsEmpty());
}

}  // namespace
