// What a driver reads from the registry, and what it is before it is initialised.
#include <initializer_list>

#include "hostkit/services/registry.h"
#include "tests/support/driver_fixture.h"
#include "tests/support/faults.h"
#include "tests/support/gl_recorder.h"

extern "C" int DllMain(HINSTANCE instance, DWORD reason, void* reserved);
extern "C" void* glGetExtensionPointer(const char* name);

namespace {

using Option = GL3GADriver::OptionFlag;

/// Makes no driver by itself. Of the registry a test overrides what it needs.
class SettingsTest : public DriverFixture {
 protected:
  void SetUp() override {}

  /// A driver that found `value` under the key.
  GL3GADriver& DriverWith(const char* section, const char* key, int value) {
    hostkit::ReloadRegistry();
    hostkit::OverrideRegistryValue(section, key, value);
    return *RemakeDriver();
  }
  GL3GADriver& DriverWith(const char* key, int value) { return DriverWith("OpenGL3", key, value); }
};

TEST_F(SettingsTest, ConstructionResetsTheSharedState) {
  // What an earlier driver may have left, as values that are no live handles.
  GL3GADriver::m_context = reinterpret_cast<AGLContext>(8);
  GL3GADriver::m_prevcontext = reinterpret_cast<AGLContext>(8);
  GL3GADriver::m_drawable = reinterpret_cast<AGLDrawable>(8);
  GL3GADriver::m_hdc = reinterpret_cast<HDC>(8);
  GL3GADriver::m_dummywindow = reinterpret_cast<CWnd*>(8);
  GL3GADriver::rowbytes = GL3GADriver::m_depthbits = GL3GADriver::gl_max_texture_size = 9;
  GL3GADriver::baseaddr = reinterpret_cast<char*>(8);
  GL3GADriver::bufwidth = GL3GADriver::bufheight = 9;
  GL3GADriver::gl_max_texture_max_anisotropy_ext = 9;

  const std::unique_ptr<GADriver> driver(CreateDriver());

  for (const void* pointer : std::initializer_list<const void*>{
           GL3GADriver::m_context, GL3GADriver::m_prevcontext, GL3GADriver::m_drawable,
           GL3GADriver::m_hdc, GL3GADriver::m_dummywindow, GL3GADriver::baseaddr}) {
    EXPECT_EQ(pointer, nullptr);
  }
  for (const int number : {GL3GADriver::rowbytes, +GL3GADriver::bufwidth, +GL3GADriver::bufheight,
                           GL3GADriver::gl_max_texture_size}) {
    EXPECT_EQ(number, 0);
  }
  EXPECT_EQ(GL3GADriver::m_depthbits, 32);
  EXPECT_EQ(GL3GADriver::gl_max_texture_max_anisotropy_ext, 0);
  for (const Option option :
       {Option::kAnisotropicAvailable, Option::kReducedPage, Option::kBgrBitmaps}) {
    EXPECT_FALSE(static_cast<GL3GADriver&>(*driver).HasOption(option)) << int{option};
  }
  EXPECT_EQ(driver->IsOperational(), 0);
  EXPECT_EQ(driver->IsSupportGPU(), 1) << "shaders count as supported until the GL was asked";
  EXPECT_EQ(static_cast<GL3GADriver&>(*driver).GLVersion(), 0);
}

TEST_F(SettingsTest, SwitchesTakeTheLowBitAlone) {
  const std::pair<const char*, Option> switches[] = {
      {"Anisotropic", Option::kAnisotropicWanted},
      {"Antialias", Option::kAntialias},
      {"Textures Powerof2", Option::kPowerOfTwoTextures},
      {"Textures Compression", Option::kCompressTextures}};
  for (const auto& [key, option] : switches) {
    for (const int value : {0, 1, 2, 3, -1, -2}) {
      EXPECT_EQ(DriverWith(key, value).HasOption(option), (value & 1) != 0) << key << value;
    }
  }
  for (const int value : {0, 1, 2, -1}) {
    EXPECT_EQ(DriverWith("Polygonmode", value).IsWireframe(), value != 0) << value;
  }
}

TEST_F(SettingsTest, NumbersAndTheirSections) {
  DriverWith("Max Transparent Triangles", 12);
  EXPECT_EQ(GL3GABuffer::m_maxtransparentpolys, 12);
  DriverWith("SortInverse Transparent Triangles", 2);
  EXPECT_EQ(GL3GABuffer::m_inversesort, 2);
  DriverWith("Max Vertices", 34);
  EXPECT_EQ(GL3GADriver::gl_max_vertices, 34);
  DriverWith("General", "Max Vertices", 34);
  EXPECT_EQ(GL3GADriver::gl_max_vertices, 12000000);

  for (const int threads : {2, 1, 0, -3}) {
    DriverWith("General", "OpenMP Threads", threads);
    EXPECT_EQ(GL3GADriver::m_azprocessor, threads);
    EXPECT_EQ(GL3GADriver::m_useopenmp, threads > 1);
  }
  DriverWith("OpenMP Threads", 4);
  EXPECT_EQ(GL3GADriver::m_azprocessor, 1) << "the threads are the host's setting";
}

TEST(ModuleEntryTest, RegistersItselfOnProcessAttachAlone) {
  const auto instance = reinterpret_cast<HINSTANCE>(0x100);
  const CDynLinkLibrary* const before = CDynLinkLibrary::First();
  for (const DWORD reason : {0u, 2u, 3u}) EXPECT_EQ(DllMain(instance, reason, nullptr), 1);
  EXPECT_EQ(CDynLinkLibrary::First(), before);
  EXPECT_EQ(DllMain(instance, DLL_PROCESS_ATTACH, nullptr), 1);
  ASSERT_NE(CDynLinkLibrary::First(), before);
  EXPECT_EQ(CDynLinkLibrary::First()->Next(), before);
  EXPECT_EQ(CDynLinkLibrary::First()->Module().hModule, instance);
  EXPECT_NE(CDynLinkLibrary::First()->Module().resources, nullptr) << "the dialogs";
}

TEST(ModuleEntryTest, FindsGLFunctionsByName) {
  EXPECT_EQ(glGetExtensionPointer("glNoSuchFunction"), nullptr);
  EXPECT_EQ(glGetExtensionPointer(""), nullptr);
  EXPECT_EQ(glGetExtensionPointer(nullptr), nullptr);
  GlRecorder recorder(GlRecorder::kPlatform);
  EXPECT_NE(glGetExtensionPointer("glGetString"), nullptr);
  const Lines calls = recorder.Calls();
  EXPECT_EQ(calls, CallsIn(R"(
      FindFolder(-32766, 1718772077, 0); FSMakeFSSpec(OpenGL.framework); FSpMakeFSRef();
      CFURLCreateFromFSRef() = url1; CFBundleCreate(url1) = bundle1; CFRelease(url1);
      CFStringCreateWithCString(glGetString) = string1;
      CFBundleGetFunctionPointerForName(bundle1, string1); CFRelease(string1);
      CFRelease(bundle1))"));

  // Each step may fail; what was made until then is released.
  const std::pair<FaultPoint, std::size_t> steps[] = {{FaultPoint::kFindFolder, 1},
                                                      {FaultPoint::kFSMakeFSSpec, 2},
                                                      {FaultPoint::kFSpMakeFSRef, 3},
                                                      {FaultPoint::kCFURLCreateFromFSRef, 4},
                                                      {FaultPoint::kCFBundleCreate, 6}};
  for (const auto& [step, count] : steps) {
    Faults faults;
    faults.Fail(step);
    recorder.Clear();
    EXPECT_EQ(glGetExtensionPointer("glGetString"), nullptr);
    EXPECT_EQ(recorder.Calls().size(), count);
    EXPECT_EQ(recorder.Count("CFRelease"), count == 6 ? 1 : 0) << "the URL's";
  }
}

}  // namespace
