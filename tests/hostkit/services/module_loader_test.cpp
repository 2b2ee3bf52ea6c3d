// Module loading and text streams.
#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <utility>

#include "host/GADriver.h"
#include "host/Services.h"
#include "host/Streams.h"
#include "host/String.h"
#include "hostkit/services/current_driver.h"
#include "hostkit/services/host_heaps.h"
#include "hostkit/services/module_loader.h"
#include "hostkit/services/replaced_services.h"
#include "platform/mfc.h"
#include "tests/support/common/holds.h"
#include "tests/support/common/temp_folder.h"

namespace {

namespace fs = std::filesystem;
using hostkit::LoadedModule;

const std::string kGood = GL3_LIB_DIR "/OpenGL3.so";

TEST(ModuleLoader, MakesTheDriverCurrentWhileItLives) {
  auto* const former = reinterpret_cast<GADriver*>(0x100);  // never called
  GADriver* before = hostkit::SetDriver(former);
  const hostkit::HeapCounts counts = hostkit::CountHeaps();
  std::string error;
  const CDynLinkLibrary* const registered = CDynLinkLibrary::First();
  std::unique_ptr<LoadedModule> module = LoadedModule::Load(kGood, &error);
  ASSERT_NE(module, nullptr) << error;
  EXPECT_EQ(GetDriver(), module->Driver());
  ASSERT_NE(CDynLinkLibrary::First(), registered);
  EXPECT_EQ(CDynLinkLibrary::First()->Next(), registered) << "attached once";
  EXPECT_NE(module->Symbol("glGetExtensionPointer"), nullptr);
  EXPECT_EQ(module->Symbol("no such thing"), nullptr);
  module.reset();
  EXPECT_EQ(GetDriver(), former);
  EXPECT_EQ(hostkit::CountHeaps().gassist.blocks, counts.gassist.blocks);
  hostkit::SetDriver(before);
}

/// Nothing of the checks is there unless they are asked for.
TEST(ModuleLoader, LoadsTheChecksWhenTheEnvironmentAsks) {
  const auto areLoaded = [] {
    std::string error;
    EXPECT_NE(LoadedModule::Load(kGood, &error), nullptr) << error;
    void* const library = dlopen("libgl3checking.so", RTLD_NOW | RTLD_NOLOAD);
    if (library) dlclose(library);
    return library != nullptr;
  };
  for (const char* value : {"", "0", "1"}) {
    setenv("GL3_CHECK", value, 1);
    EXPECT_EQ(areLoaded(), *value == '1') << value;
  }
  unsetenv("GL3_CHECK");
}

TEST(ModuleLoader, TellsWhatIsWrong) {
  const TempFolder folder;
  folder.Write("text.so", "This is no library, but long enough to hold the header of one. Really!");
  folder.Write("empty.so", "");
  const std::string cut = folder.Path("cut.so");
  fs::copy_file(kGood, cut);
  fs::resize_file(cut, 5000);
  const std::string other = folder.Path("other.so");
  fs::copy_file(kGood, other);
  {
    std::fstream file(other, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(18);  // e_machine
    file.put('\x28');
  }
  const std::pair<std::string, const char*> cases[] = {
      {folder.Path("none.so"), "no such file"},
      {folder.Path(""), "not a file"},
      {folder.Path("text.so"), "not a shared library"},
      {folder.Path("empty.so"), "not a shared library"},
      {cut, "cut short"},
      {other, "another machine"},
      {"/lib/x86_64-linux-gnu/libm.so.6", "names no version of hosts"},
      // Refused before the loader could miss what it needs.
      {TEST_MODULES "/later_module.so",
       "made for hosts of version GL3_HOST_4711, and this program is a host of GL3_HOST_1"},
      {TEST_MODULES "/mute_module.so", "does not export CreateDriver"},
      {TEST_MODULES "/needy_module.so", "ServiceThatNoHostHas(String const&, int)"}};
  for (const auto& [path, reason] : cases) {
    if (path[1] == 'l' && !fs::exists(path)) continue;  // other machines keep libm elsewhere
    std::string error;
    EXPECT_EQ(LoadedModule::Load(path, &error), nullptr) << path;
    EXPECT_TRUE(Holds(error, {reason, "; "}));
    EXPECT_EQ(error.find(path + ": "), 0u) << error;
    EXPECT_EQ(error.find('\n'), std::string::npos) << error;
  }
  EXPECT_EQ(GetDriver(), nullptr);
}

TEST(ModuleLoader, FindsTheModuleInItsFoldersInOrder) {
  const TempFolder folder;
  fs::create_directory(folder.Path("a"));
  fs::create_directory(folder.Path("b"));
  const std::string search = folder.Path("none") + "::" + folder.Path("a") + ":" + folder.Path("b");
  setenv("GL3_MODULE_PATH", search.c_str(), 1);
  std::string error;
  // The build may have put the real module beside this test.
  if (const std::string found = hostkit::FindModule(&error); found.empty()) {
    EXPECT_TRUE(
        Holds(error, {folder.Path("none/OpenGL3.so"), folder.Path("a/OpenGL3.so"),
                      folder.Path("b/OpenGL3.so"), "/lib/gl3/OpenGL3.so", "GL3_MODULE_PATH"}));
  }
  folder.Write("b/OpenGL3.so", "");
  EXPECT_EQ(hostkit::FindModule(&error), folder.Path("b/OpenGL3.so"));
  fs::create_directory(folder.Path("a/OpenGL3.so"));  // a folder of that name does not count
  EXPECT_EQ(hostkit::FindModule(&error), folder.Path("b/OpenGL3.so"));
  unsetenv("GL3_MODULE_PATH");
}

TEST(FileStream, AppearsWholeOrNotAtAll) {
  const TempFolder folder;
  folder.Write("report.txt", "old");
  {
    FileStream abandoned;
    ASSERT_EQ(abandoned.Open(folder.Path("report.txt").c_str()), 1);
    abandoned << "half";
  }
  EXPECT_EQ(folder.Read("report.txt"), "old");
  FileStream stream;
  EXPECT_EQ(stream.Close(), 0);
  ASSERT_EQ(stream.Open(folder.Path("report.txt").c_str()), 1);
  EXPECT_EQ(stream.Open(folder.Path("other.txt").c_str()), 0);
  stream << String("first") << nl << "second" << static_cast<const char*>(nullptr) << String()
         << nl;
  EXPECT_EQ(folder.Read("report.txt"), "old");
  EXPECT_EQ(stream.Close(), 1);
  EXPECT_EQ(folder.Read("report.txt"), "first\nsecond\n");
  EXPECT_EQ(folder.Count(), 1);
  for (const std::string& path : {folder.Path("none/x.txt"), folder.Path(""), std::string()}) {
    EXPECT_EQ(stream.Open(path.c_str()), 0) << path;
  }
  EXPECT_EQ(folder.Count(), 1);
}

TEST(FileStream, ReportsAFullDisk) {
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "there is no /dev/full here";
  FileStream stream;
  ASSERT_EQ(stream.Open("/dev/full"), 1);
  stream << "text";
  EXPECT_EQ(stream.Close(), 0);
  EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

/// As when a program has a class String with a function Mid of its own.
TEST(HalfReplacedServices, AreNamedWithWhereTheyComeFrom) {
  const auto lines = hostkit::HalfReplacedServices([](const char* symbol) {
    EXPECT_NE(hostkit::SupplierOf(symbol), "") << symbol;
    return Holds(symbol, {"6String3Mid"}) ? std::string("planner") : std::string("the kit");
  });
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(Holds(lines[0], {"class String is replaced in part", "String::Mid(int, int) const",
                               "planner", "the kit", "namespace"}))
      << lines[0];
  EXPECT_EQ(hostkit::HalfReplacedServices(), std::vector<std::string>());
  const auto heap = hostkit::HalfReplacedServices([](const char* symbol) {
    return std::string(Holds(symbol, {"FreeExt"}) ? "planner" : "the kit");
  });
  ASSERT_EQ(heap.size(), 1u);
  EXPECT_TRUE(Holds(heap[0], {"FreeExt", "planner", "the bitmaps"})) << heap[0];
}

}  // namespace
