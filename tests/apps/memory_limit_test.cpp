// How much memory a process may use, from made-up trees of the kernel's.
#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "apps/base/memory_limit.h"
#include "tests/support/common/temp_folder.h"

namespace {

namespace fs = std::filesystem;

TEST(MemoryLimit, IsTheLeastOfTheControlGroupsOnTheWay) {
  const struct {
    const char* membership;
    std::vector<std::pair<const char*, const char*>> limits;  // files below the groups' folder
    std::uint64_t limit;
  } cases[] = {
      {"0::/a/b\n", {{"a/b/memory.max", "max\n"}, {"a/memory.max", "5000\n"}}, 5000},
      {"0::/a/b\n", {{"a/b/memory.max", "300\n"}, {"a/memory.max", "5000\n"}}, 300},
      {"0::/a\n", {{"a/memory.max", "max"}, {"a/b/memory.max", "7"}, {"c/memory.max", "7"}}, 0},
      {"0::/\n", {{"memory.max", "6000\n"}}, 6000},  // a container's own view
      {"0::/../../a\n", {{"a/memory.max", "70\n"}}, 70},
      {"3:cpu,memory:/d/e\n1:name=systemd:/x\n0::/x\n",
       {{"memory/d/e/memory.limit_in_bytes", "9223372036854771712\n"},
        {"memory/memory.limit_in_bytes", "8000\n"},
        {"memory/x/memory.limit_in_bytes", "7\n"}},
       8000},
      {"3:memory:/gone\n0::/a\n",
       {{"memory/memory.limit_in_bytes", "8000\n"}, {"a/memory.max", "900\n"}},
       900},
      {"0::/a\n", {{"a/memory.max", "12x\n"}, {"memory.max", "-1\n"}}, 0},
      {"nonsense\n:\n\n", {{"memory.max", "7\n"}}, 0}};
  for (const auto& [membership, limits, limit] : cases) {
    SCOPED_TRACE(membership);
    const TempFolder folder;
    fs::create_directories(folder.Path("proc/self"));
    folder.Write("proc/self/cgroup", membership);
    for (const auto& [file, text] : limits) {
      const std::string name = std::string("groups/") + file;
      fs::create_directories(fs::path(folder.Path(name)).parent_path());
      folder.Write(name, text);
    }
    const std::string processes = folder.Path("proc"), groups = folder.Path("groups");
    EXPECT_EQ(gl3::ControlGroupMemory(processes, groups), limit);
    const std::uint64_t machine = gl3::UsableMemory(folder.Path("none"), groups);
    EXPECT_GT(machine, 10000u);
    EXPECT_EQ(gl3::UsableMemory(processes, groups), limit == 0 ? machine : limit);
  }
}

}  // namespace
