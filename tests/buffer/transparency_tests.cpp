// The transparent-polygon queue and its sorts: room, records, memory, order.
#include <pthread.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>
#include <numeric>
#include <random>

#include "hostkit/services/host_heaps.h"
#include "tests/support/drawing_fixture.h"
#include "tests/support/gl_recorder.h"
#include "tests/support/transparent_queue.h"

namespace {

/// Runs `work` on a thread with little stack, on which a sort that recurses once a record ends.
void RunOnSmallStack(std::function<void()> work) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, 256 * 1024);
  pthread_t thread;
  const auto run = [](void* argument) -> void* {
    (*static_cast<std::function<void()>*>(argument))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

class QueueTest : public DrawingFixture {
 protected:
  TransparentRecord* Add(float z) {
    return Buffer().AddTransparentPoly(Facing(0, 0, z), Facing(1, 0, z), Facing(0, 1, z), nullptr,
                                       &m_material, nullptr);
  }
  static long OglBlocks() { return hostkit::CountHeaps().ogl.blocks; }

  AttrProperty m_material = Material(1, 1, 1, 0.5f);
};

TEST_F(QueueTest, RoomFollowsTheSetting) {
  EXPECT_EQ(Add(-1), nullptr);  // there is no queue yet
  EXPECT_EQ(Buffer().AddTransparentPoly(Facing(0, 0, 0), Facing(1, 0, 0), &m_material, nullptr),
            nullptr);
  EXPECT_EQ(GL3GABuffer::m_maxtransparentpolys, 149999);
  EXPECT_EQ(Buffer().MakeRoomForTransparentPolys(1000000), 1);  // the first call does not look
  EXPECT_EQ(Buffer().MakeRoomForTransparentPolys(150000), 0);
  EXPECT_EQ(Buffer().MakeRoomForTransparentPolys(149999), 1);
  for (int i = 0; i < 149998; ++i) Add(-1);
  EXPECT_EQ(Buffer().MakeRoomForTransparentPolys(2), 0);
  EXPECT_EQ(Buffer().MakeRoomForTransparentPolys(1), 1);
  EXPECT_EQ(Buffer().MakeRoomForTransparentPolys(std::numeric_limits<int>::max()), 0);
  Add(-1);
  EXPECT_EQ(Buffer().MakeRoomForTransparentPolys(1), 0);
  EXPECT_NE(Add(-1), nullptr);  // the one record more
  EXPECT_EQ(Add(-1), nullptr);
  EXPECT_EQ(TransparentQueue::Count(Buffer()), 150000);
}

TEST_F(QueueTest, RecordsKeepWhatTheyWereGiven) {
  const auto texture = SolidTexture({255, 0, 0, 128});
  LightListNode lights;
  Buffer().MakeRoomForTransparentPolys(2);
  const GAVertex v[3] = {Numbered(1), Numbered(2), Numbered(6)};
  const TransparentRecord* triangle =
      Buffer().AddTransparentPoly(v[0], v[1], v[2], texture.get(), &m_material, &lights);
  const TransparentRecord* line = Buffer().AddTransparentPoly(v[1], v[2], &m_material, &lights);
  EXPECT_EQ(std::memcmp(&triangle->a, v, sizeof v), 0);
  EXPECT_EQ(triangle->depthKey, 69 * 0.33333334f);
  EXPECT_EQ(triangle->texture, texture.get());
  EXPECT_EQ(triangle->attribute, &m_material);
  EXPECT_EQ(triangle->lights, &lights);
  EXPECT_EQ(triangle->isLine, 0);
  EXPECT_EQ(std::memcmp(&line->a, v + 1, 2 * sizeof *v), 0);
  EXPECT_EQ(line->depthKey, 24);
  EXPECT_EQ(line->isLine, 1);
  EXPECT_EQ(line->texture, nullptr);
  EXPECT_EQ(line->attribute, &m_material);
  EXPECT_EQ(line->lights, &lights);
}

TEST_F(QueueTest, MemoryIsZeroedAndFreedWithTheLastQueue) {
  const long before = OglBlocks();
  OffscreenTarget other(Driver(), 8, 8), another(Driver(), 8, 8);
  GL3GABuffer &second = *other.buffer, &third = *another.buffer;
  second.MakeRoomForTransparentPolys(1);
  Buffer().MakeRoomForTransparentPolys(1);
  Buffer().AddTransparentPoly(Facing(0, 0, -9), Facing(1, 0, -9), &m_material, nullptr);
  Buffer().EndScene();
  EXPECT_EQ(TransparentQueue::Count(Buffer()), 0);
  EXPECT_EQ(TransparentQueue::Records(Buffer()), nullptr);
  EXPECT_EQ(Add(-1), nullptr);
  Buffer().RenderTransparentPolys();  // without a queue: nothing is given back
  EXPECT_EQ(OglBlocks(), before + 2);

  // The other buffer's queue lives on; this one gets its own back, without the line of before. What
  // has another size, or what is taken already, it does not get.
  GL3GABuffer::m_maxtransparentpolys = 7;
  third.MakeRoomForTransparentPolys(1);
  EXPECT_EQ(OglBlocks(), before + 3);
  GL3GABuffer::m_maxtransparentpolys = 149999;
  Buffer().MakeRoomForTransparentPolys(1);
  EXPECT_EQ(OglBlocks(), before + 3);
  EXPECT_EQ(Add(-1)->isLine, 0);
  third.RenderTransparentPolys();
  third.MakeRoomForTransparentPolys(1);
  EXPECT_EQ(OglBlocks(), before + 4);
  third.Destroy();
  Buffer().EndScene();
  EXPECT_GT(OglBlocks(), before);
  second.Destroy();
  EXPECT_EQ(OglBlocks(), before);
  second.EndScene();  // nothing is left to draw
  second.MakeRoomForTransparentPolys(1);
  EXPECT_EQ(OglBlocks(), before + 1);  // none of the freed ones
}

using Keys = std::vector<float>;

/// Keys for which the middle record of every range is its least, so that each partition splits off
/// one record alone.
Keys LeastInTheMiddle(int count) {
  std::vector<std::size_t> origin(static_cast<std::size_t>(count));
  std::iota(origin.begin(), origin.end(), std::size_t{0});
  Keys keys(origin.size());
  for (std::size_t last = origin.size(); last-- > 0;) {
    keys[origin[last / 2]] = static_cast<float>(origin.size() - last);
    std::swap(origin[last / 2], origin[last]);
  }
  return keys;
}

Keys Pattern(const std::string& name, std::size_t count) {
  Keys keys(count);
  std::iota(keys.begin(), keys.end(), 0.0f);
  if (name == "falling") std::reverse(keys.begin(), keys.end());
  if (name == "equal") std::fill(keys.begin(), keys.end(), 3.0f);
  if (name == "random") std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
  if (name == "organ pipe") {
    for (std::size_t i = 0; i < count; ++i) keys[i] = static_cast<float>(std::min(i, count - i));
  }
  if (name == "least in the middle") keys = LeastInTheMiddle(static_cast<int>(count));
  return keys;
}

class SortTest : public QueueTest {
 protected:
  using Sort = void (GL3GABuffer::*)(int, int);

  /// Queues records of these keys, sorts them, and gives the keys in their new order. Every record
  /// must still be there.
  Keys Sorted(const Keys& keys, Sort sort) {
    Buffer().MakeRoomForTransparentPolys(1);
    for (std::size_t i = 0; i < keys.size(); ++i) {
      TransparentRecord* record = Add(0);
      record->depthKey = keys[i];
      record->isLine = static_cast<std::int32_t>(i);
    }
    const int count = TransparentQueue::Count(Buffer());
    RunOnSmallStack([&] { (Buffer().*sort)(0, count - 1); });
    Keys sorted;
    std::vector<bool> seen(keys.size());
    for (int i = 0; i < count; ++i) {
      const TransparentRecord& record = TransparentQueue::Records(Buffer())[i];
      seen[static_cast<std::size_t>(record.isLine)] = true;
      sorted.push_back(record.depthKey);
    }
    EXPECT_EQ(std::count(seen.begin(), seen.end(), false), 0);
    Buffer().Destroy();
    return sorted;
  }
};

TEST_F(SortTest, EveryOrderOfKeysOnASmallStack) {
  const std::pair<Sort, bool> sorts[] = {{&GL3GABuffer::QuickDepthSort, false},
                                         {&GL3GABuffer::QuickDepthSortInverse, true},
                                         {&GL3GABuffer::QuickSortTransparency, false}};
  const std::pair<const char*, std::size_t> patterns[] = {
      {"rising", 149999}, {"falling", 149999},   {"random", 149999},
      {"equal", 4000},    {"organ pipe", 20000}, {"least in the middle", 8000},
      {"rising", 2},      {"falling", 2},        {"rising", 3},
      {"falling", 1},     {"random", 7}};
  for (const auto& [name, count] : patterns) {
    Keys keys = Pattern(name, count);
    for (const auto& [sort, ascending] : sorts) {
      Keys wanted = keys;
      std::sort(wanted.begin(), wanted.end());
      if (!ascending) std::reverse(wanted.begin(), wanted.end());
      EXPECT_TRUE(Sorted(keys, sort) == wanted) << name << " " << count;
    }
  }
  EXPECT_TRUE(Sorted(Pattern("equal", 149999), &GL3GABuffer::QuickDepthSort) ==
              Pattern("equal", 149999));
}

TEST_F(SortTest, UnorderedKeysLoseNoRecord) {
  Keys keys = Pattern("random", 5000);
  for (std::size_t i = 0; i < keys.size(); i += 3)
    keys[i] = std::numeric_limits<float>::quiet_NaN();
  for (const Sort sort : {&GL3GABuffer::QuickDepthSort, &GL3GABuffer::QuickDepthSortInverse,
                          &GL3GABuffer::QuickSortTransparency}) {
    EXPECT_EQ(Sorted(keys, sort).size(), keys.size());
  }
}

}  // namespace
