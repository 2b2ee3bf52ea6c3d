// Hosts that run for weeks: a thousand rounds of each thing that is made and released leave heaps,
// handles, GL names, descriptors and memory where they were.
#include <dirent.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <functional>

#include "hostkit/confine/sanitized.h"
#include "tests/support/drawing_fixture.h"

namespace {

constexpr int kRounds = 1000;
/// Before these the GL driver fills its caches: shaders, formats, arenas of its threads.
constexpr int kWarmUp = 100;
/// What memory may grow by all the same: one KiB a round. Under Mesa 22.3's llvmpipe it is 10 to
/// 150 KiB in all, and 40 for the same made and released with EGL alone; a context that is lost
/// would be 2400 KiB a round.
constexpr long kSlackKiB = kRounds;

int CountDescriptors() {
  int count = 0;
  DIR* folder = opendir("/proc/self/fd");
  while (folder && readdir(folder)) ++count;
  if (folder) closedir(folder);
  return count;
}

/// Resident memory in KiB, without what malloc keeps for later. 0 under AddressSanitizer, which
/// keeps freed blocks for long and looks for leaks itself.
long ResidentKiB() {
  if (kIsSanitized) return 0;
  malloc_trim(0);
  long pages = 0;
  std::FILE* file = std::fopen("/proc/self/statm", "re");
  if (!file || std::fscanf(file, "%*s %ld", &pages) != 1) pages = 0;
  if (file) std::fclose(file);
  return pages * (sysconf(_SC_PAGESIZE) / 1024);
}

class CycleTest : public DriverFixture {
 protected:
  struct Level {
    Lines alive = Alive();
    int descriptors = CountDescriptors();
    long resident = ResidentKiB();
  };

  static void ExpectSteady(const std::function<void(int)>& round) {
    for (int i = 0; i < kWarmUp; ++i) round(i);
    const Level before;
    for (int i = 0; i < kRounds; ++i) round(i);
    const Level after;
    EXPECT_EQ(after.alive, before.alive);
    EXPECT_EQ(after.descriptors, before.descriptors);
    EXPECT_LT(after.resident, before.resident + kSlackKiB);
  }
};

TEST_F(CycleTest, Reallocate) {
  for (const int mode : {1, 0, 2}) {
    SCOPED_TRACE(mode);
    RenderInfo info;
    const std::unique_ptr<GABuffer> buffer(Driver()->CreateBuffer(&info, mode, 0));
    ExpectSteady([&](int i) {
      ASSERT_EQ(buffer->Reallocate(16 + i * 7 % 300, 16 + i * 13 % 200, i % 2), 1);
      buffer->Clear();
    });
  }
}

TEST_F(CycleTest, InitializeAndTerminate) {
  ExpectSteady([&](int) {
    ASSERT_EQ(Driver()->Initialize(), 1);
    ASSERT_EQ(Driver()->Terminate(), 1);
  });
}

TEST_F(CycleTest, Buffers) {
  ExpectSteady([&](int) {
    OffscreenTarget target(Driver(), 32, 32);
    target.Begin();
    target.End();
  });
}

TEST_F(CycleTest, Textures) {
  Driver()->MakeCurrent();
  ExpectSteady([&](int i) {
    const TestBitmap bitmap = SolidBitmap(16 + i * 7 % 300, 20, {1, 2, 3, 255});
    GL3GATexture freed, destroyed;
    ASSERT_EQ(freed.MakeGATexture(bitmap.get(), 0, 0, 0), 1);
    ASSERT_EQ(destroyed.MakeGATexture(bitmap.get(), 0, 0, 0), 1);
    freed.FreeGATexture();
  });
  // Mesa hands names out in rising order and takes them up again only at the end of their range.
  for (int name = 1; name <= GL3GATexture::m_maxlist; ++name) ASSERT_FALSE(glIsTexture(name));
}

}  // namespace
