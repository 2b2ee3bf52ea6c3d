// Loading of GL entry points, by GLEW and by name, and text.
#include <dlfcn.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "platform/corefoundation.h"
#include "tests/platform/contexts_fixture.h"
#include "tests/support/next_symbol.h"

namespace {
bool g_fakeGlew = false;
GLenum g_glewError = 0;
}  // namespace

// In front of the library's own.
extern "C" GLenum glewInit() {
  static auto* const real = NextSymbol<GLenum()>("glewInit");
  return g_fakeGlew ? g_glewError : real();
}

namespace {

using EntryPoints = PlatformTest;

/// The whole way from the system's folders to an address.
void* FindByName(const char* name) {
  std::int16_t volume = 0;
  std::int32_t folder = 0;
  FSSpec spec{};
  FSRef ref{};
  EXPECT_EQ(FindFolder(kSystemDomain, kFrameworksFolderType, 0, &volume, &folder), noErr);
  EXPECT_EQ(FSMakeFSSpec(volume, folder, "OpenGL.framework", &spec), noErr);
  EXPECT_EQ(FSpMakeFSRef(&spec, &ref), noErr);
  const CFURLRef url = CFURLCreateFromFSRef(nullptr, &ref);
  const CFBundleRef bundle = CFBundleCreate(nullptr, url);
  CFRelease(url);
  const CFStringRef text = CFStringCreateWithCString(nullptr, name, CFStringGetSystemEncoding());
  void* const address = CFBundleGetFunctionPointerForName(bundle, text);
  CFRelease(text);
  CFRelease(bundle);
  EXPECT_EQ(CFBundleGetFunctionPointerForName(bundle, text), nullptr) << "both are released";
  CFRelease(bundle);
  return address;
}

TEST_F(EntryPoints, AreFoundByNameOnlyWhenTheGlLibraryHasThem) {
  for (const char* name : {"glClear", "glCreateProgram", "glActiveTextureARB"}) {
    EXPECT_NE(FindByName(name), nullptr) << name;
  }
  for (const char* name : {"glInventedByThisTest", "malloc", ""}) {
    EXPECT_EQ(FindByName(name), nullptr) << name;
  }
  using GetError = GLenum (*)();
  EXPECT_EQ(reinterpret_cast<GetError>(FindByName("glGetError"))(),
            static_cast<GLenum>(GL_NO_ERROR));
}

TEST_F(EntryPoints, EveryStepOfTheLookupCanFail) {
  std::int16_t volume = 0;
  std::int32_t folder = 0;
  FSSpec spec{};
  FSRef ref{};
  EXPECT_EQ(FindFolder(kSystemDomain, 0x12345678, 0, &volume, &folder), fnfErr);
  EXPECT_EQ(FindFolder(kSystemDomain, kFrameworksFolderType, 0, nullptr, &folder), paramErr);
  ASSERT_EQ(FindFolder(kSystemDomain, kFrameworksFolderType, 0, &volume, &folder), noErr);
  EXPECT_EQ(FSMakeFSSpec(volume, folder, "Other.framework", &spec), fnfErr);
  EXPECT_EQ(FSMakeFSSpec(volume, folder, std::string(64, 'x').c_str(), &spec), bdNamErr);
  EXPECT_EQ(FSMakeFSSpec(volume, folder + 1, "OpenGL.framework", &spec), fnfErr);
  EXPECT_EQ(FSpMakeFSRef(&spec, &ref), fnfErr);
  EXPECT_EQ(CFURLCreateFromFSRef(nullptr, &ref), nullptr);
  EXPECT_EQ(CFURLCreateFromFSRef(nullptr, nullptr), nullptr);
  EXPECT_EQ(CFBundleCreate(nullptr, nullptr), nullptr);
  EXPECT_EQ(CFStringCreateWithCString(nullptr, nullptr, 0), nullptr);
  EXPECT_EQ(CFBundleGetFunctionPointerForName(nullptr, nullptr), nullptr);
  CFRelease(nullptr);
}

/// In a process of its own, where GLEW has loaded nothing yet: what InitializeGlew makes of an
/// error that glewInit gives before and after it has loaded everything.
void ReportGlewErrors() {
  aglSetCurrentContext(MakeContext());
  g_fakeGlew = true;
  g_glewError = GLEW_ERROR_NO_GLX_DISPLAY;
  const unsigned int unloaded = InitializeGlew();
  g_fakeGlew = false;
  const unsigned int real = InitializeGlew();
  g_fakeGlew = true;
  const unsigned int loaded = InitializeGlew();
  g_glewError = GLEW_ERROR_NO_GL_VERSION;
  const unsigned int other = InitializeGlew();
  std::fprintf(stderr, "errors %u %u %u %u\n", unloaded, real, loaded, other);
  std::exit(0);
}

TEST(GlewDeathTest, OnlyTheMissingGlxDisplayIsExcusedAndOnlyWithEntryPoints) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(ReportGlewErrors(), testing::ExitedWithCode(0), "errors 4 0 0 1");
}

TEST_F(EntryPoints, FontListsDrawAtTheRasterPositionAndMoveOn) {
  const AGLContext context = MakeContext();
  ExpectError(aglUseFont(context, 3, 0, 10, 0, 256, 10000), AGL_BAD_STATE);  // it is not current
  ASSERT_TRUE(aglSetPBuffer(context, MakePbuffer(64, 32), 0, 0, 0));
  ASSERT_TRUE(aglSetCurrentContext(context));
  glPixelStorei(GL_UNPACK_ALIGNMENT, 8);
  glPixelStorei(GL_UNPACK_LSB_FIRST, 1);
  ASSERT_TRUE(aglUseFont(context, 3, 0, 10, 0, 256, 10000));
  GLint alignment = 0;
  glGetIntegerv(GL_UNPACK_ALIGNMENT, &alignment);
  EXPECT_EQ(alignment, 8);
  EXPECT_TRUE(glIsList(10000));
  EXPECT_TRUE(glIsList(10255));

  glViewport(0, 0, 64, 32);
  glMatrixMode(GL_PROJECTION);
  glOrtho(0, 64, 0, 32, -1, 1);
  Fill(0, 0, 64, 32, kBlack);
  glColor3f(0, 1, 0);
  glRasterPos2i(8, 12);
  glListBase(10000);
  glCallLists(2, GL_UNSIGNED_BYTE, "L_");
  // L's stem is unbroken and its foot goes to the right, whatever the state of pixels was.
  int stem = 0;
  for (int x = 8; x < 12 && stem == 0; x++) {
    while (PixelAt(x, 12 + stem) == kGreen) stem++;
    if (stem > 0) {
      EXPECT_EQ(PixelAt(x + 2, 12), kGreen);
    }
  }
  EXPECT_GE(stem, 6);
  GLfloat position[4] = {0, 0, 0, 0};
  glGetFloatv(GL_CURRENT_RASTER_POSITION, position);
  EXPECT_GT(position[0], 14);
  EXPECT_LT(position[0], 24);
  EXPECT_EQ(position[1], 12);
  ExpectError(aglUseFont(context, 3, 0, 0, 0, 256, 10000), AGL_BAD_VALUE);
}

/// Text in a process of its own, and whether its lists are there all the same.
void UseFontTwice() {
  const AGLContext context = MakeCurrentContext();
  const bool used =
      aglUseFont(context, 3, 0, 10, 0, 256, 10000) && aglUseFont(context, 3, 0, 12, 0, 256, 20000);
  std::fprintf(stderr, "used %d list %d", used, glIsList(20255));
  std::exit(0);
}

TEST(FontDeathTest, WithoutAnyFontListsAreEmptyAndOneWarningIsGiven) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const std::string file = testing::TempDir() + "no_fonts.conf";
  std::ofstream(file) << "<?xml version=\"1.0\"?><fontconfig></fontconfig>";
  setenv("FONTCONFIG_FILE", file.c_str(), 1);
  EXPECT_EXIT(UseFontTwice(), testing::ExitedWithCode(0),
              "^[^\n]*no font found[^\n]*\nused 1 list 1$");
  unsetenv("FONTCONFIG_FILE");
  std::filesystem::remove(file);
}

TEST(FontDeathTest, SoItIsWithoutTheFontLibrary) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  // The platform library under a path where the font library is not beside it.
  Dl_info library{};
  ASSERT_NE(dladdr(reinterpret_cast<const void*>(&aglUseFont), &library), 0);
  const std::filesystem::path real = std::filesystem::canonical(library.dli_fname);
  const std::filesystem::path folder = std::filesystem::path(testing::TempDir()) / "gl3_lonely";
  std::filesystem::create_directory(folder);
  const std::filesystem::path lonely = folder / std::filesystem::path(library.dli_fname).filename();
  std::filesystem::remove(lonely);
  std::filesystem::create_symlink(real, lonely);
  setenv("LD_LIBRARY_PATH", folder.c_str(), 1);
  EXPECT_EXIT(UseFontTwice(), testing::ExitedWithCode(0),
              "^[^\n]*libgl3fonts.so, which belongs[^\n]*\nused 1 list 1$");
  unsetenv("LD_LIBRARY_PATH");
  std::filesystem::remove_all(folder);
}

}  // namespace
