// Initialising, ending and initialising again: calls, messages, and what stays.
#include <initializer_list>
#include <ostream>

#include "host/GATexture.h"
#include "platform/cgl.h"
#include "platform/coregraphics.h"
#include "platform/platform.h"
#include "tests/support/common/replaced.h"
#include "tests/support/driver_fixture.h"
#include "tests/support/faults.h"
#include "tests/support/gl_recorder.h"
#include "tests/support/platform_calls.h"

namespace {

using Option = GL3GADriver::OptionFlag;
using Capability = GL3GADriver::CapabilityFlag;

const std::string kPrefix = "OpenGL3 Initialization Failed: ";
// A class with a device context of its own (32), a popup without a parent.
const std::string kDummyWindow =
    "CreateEx(0x0, Afx:32:0:0:0, DummyOpenGL3, 0x80000000, 0, 0, 2, 2, null)";

/// A context of the host's own, current when the driver is initialised.
class HostContext {
 public:
  HostContext() {
    const CGLPixelFormatAttribute none[] = {0};
    CGLPixelFormatObj format = nullptr;
    int count = 0;
    CGLChoosePixelFormat(none, &format, &count);
    CGLCreateContext(format, nullptr, &m_context);
    CGLDestroyPixelFormat(format);
    CGLSetCurrentContext(m_context);
  }
  ~HostContext() { CGLDestroyContext(m_context); }
  bool IsCurrent() const { return m_context && CGLGetCurrentContext() == m_context; }

 private:
  CGLContextObj m_context = nullptr;
};

class InitializeTest : public DriverFixture {
 protected:
  void SetUp() override { ASSERT_NE(RemakeDriver(), nullptr); }
};

TEST_F(InitializeTest, CallsInOrder) {
  const HostContext host;
  GlRecorder recorder(GlRecorder::kPlatform);
  ASSERT_EQ(Driver()->Initialize(), 1);
  const std::string mask = std::to_string(CGDisplayIDToOpenGLDisplayMask(CGMainDisplayID()));
  EXPECT_EQ(
      recorder.Calls(),
      (Lines{kDummyWindow, "GetDC(window1) = dc1",
             "aglChoosePixelFormat({AGL_DEPTH_SIZE, 32, AGL_DOUBLEBUFFER, AGL_RGBA, "
             "AGL_ACCELERATED}) = format1",
             "aglCreateContext(format1, null) = context1", "CheckoutPort(dc1, 0) = port1",
             "GetGWorldPixMap(port1) = pixmap1",
             "CGLChoosePixelFormat({kCGLPFADisplayMask, " + mask +
                 ", kCGLPFAColorSize, 24, kCGLPFAAlphaSize, 8, kCGLPFAAccelerated, "
                 "kCGLPFADoubleBuffer}) = probeformat1",
             "CGLCreateContext(probeformat1, null) = probe1", "CGLDestroyPixelFormat(probeformat1)",
             "CGLSetCurrentContext(probe1)", "InitializeGlew()", "glGetString(GL_VERSION)",
             "glGetIntegerv(GL_MAX_TEXTURE_SIZE)", "glGetFloatv(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT)",
             "CGLDestroyContext(probe1)", "CGLSetCurrentContext(probe2)"}));
  EXPECT_TRUE(host.IsCurrent());
}

TEST_F(InitializeTest, SuccessFillsStateAndLimits) {
  const Faults faults;
  GlRecorder recorder;
  recorder.OverrideNumber(GL_MAX_TEXTURE_SIZE, 1234);
  recorder.OverrideNumber(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, 2.5f);
  char pixels[4];
  PixMap map{pixels, 0xD5A7, {3, 5, 47, 105}};
  const Replaced<std::optional<PixMap*>> answer(g_pixMap, &map);
  ASSERT_EQ(Driver()->Initialize(), 1);
  EXPECT_EQ(faults.Messages(), Lines());
  EXPECT_EQ(Driver()->IsOperational(), 1);
  EXPECT_EQ(Driver()->IsSupportGPU(), 1);
  EXPECT_TRUE(Driver()->HasCapability(Capability::kGL20));
  EXPECT_TRUE(Driver()->HasOption(Option::kAnisotropicAvailable));
  EXPECT_TRUE(Driver()->HasOption(Option::kAnisotropicWanted));
  EXPECT_EQ(GL3GADriver::gl_max_texture_size, 1234);
  EXPECT_EQ(GL3GADriver::gl_max_texture_max_anisotropy_ext, 2.5f);
  EXPECT_EQ(GL3GADriver::bufwidth, 100);
  EXPECT_EQ(GL3GADriver::bufheight, 44);
  EXPECT_EQ(GL3GADriver::rowbytes, 0x55A7) << "without the top bit";
  EXPECT_EQ(GL3GADriver::baseaddr, pixels);

  const Replaced<std::optional<PixMap*>> none(g_pixMap, nullptr);
  ASSERT_EQ(Driver()->Initialize(), 1);
  EXPECT_EQ(GL3GADriver::bufwidth + GL3GADriver::bufheight + GL3GADriver::rowbytes, 0);
  EXPECT_EQ(GL3GADriver::baseaddr, nullptr);
}

/// What goes wrong, what is told, and what the driver is then.
struct Failure {
  const char* reason;
  FaultPoint fault = FaultPoint::kCount;  // fails for as long as it is asked
  const char* text = "2.1";               // of GL_VERSION
  int version = 0;                        // as a number; 0 also when it is not read
  Lines hidden = {};                      // extensions
  bool hasWindowContext = true;           // dummy window's device context, context and port

  bool HasGL20() const { return version >= 20; }
  bool HasShaders() const { return version > 20; }
};

void PrintTo(const Failure& failure, std::ostream* out) {
  *out << failure.reason;
}

const std::string kNpot = "GL_ARB_texture_non_power_of_two", kDepth = "GL_ARB_depth_texture",
                  kFramebuffers = "GL_EXT_framebuffer_object";

// Of several extensions that are missing, the first in the order of checks is told.
const Failure kFailures[] = {
    {.reason = "Creating Window", .fault = FaultPoint::kGetDC, .hasWindowContext = false},
    {.reason = "No matching pixelformat found", .fault = FaultPoint::kCglChoosePixelFormat},
    {.reason = "glewInit", .fault = FaultPoint::kCglCreateContext},
    {.reason = "glewInit", .fault = FaultPoint::kInitializeGlew},
    {.reason = "OpenGL Version 1.5 Old-7 !\n", .text = "1.5 Old-7", .version = 15},
    {.reason = "OpenGL Version 2.0 Old-7 !\n", .text = "2.0 Old-7", .version = 20},
    {.reason = "OpenGL Version 1 !\n", .text = "1", .version = 10},
    {.reason = "OpenGL Version New 4.6 !\n", .text = "New 4.6"},
    {.reason = "OpenGL Version  !\n", .text = nullptr},
    {.reason = "GL_ARB_texture_non_power_of_two not supported!\n",
     .version = 21,
     .hidden = {kNpot, kDepth, kFramebuffers}},
    {.reason = "GL_ARB_depth_texture not supported!\n",
     .version = 21,
     .hidden = {kDepth, kFramebuffers}},
    {.reason = "GL_EXT_framebuffer_object not supported!\n",
     .version = 21,
     .hidden = {kFramebuffers}}};

class FailureTest : public InitializeTest, public testing::WithParamInterface<Failure> {
 protected:
  /// Initialises with the failure. It is told in an OK box without help, while the probe still
  /// lives; whatever was current before is current again.
  void Fail() {
    const Failure& failure = GetParam();
    Faults faults;
    GlRecorder recorder(GlRecorder::kPlatform);
    const HostContext host;
    if (failure.fault != FaultPoint::kCount) faults.FailAlways(failure.fault);
    recorder.OverrideString(GL_VERSION, failure.text);
    for (const std::string& name : failure.hidden) faults.HideExtension(name);
    EXPECT_EQ(Driver()->Initialize(), 0);
    const Lines& calls = recorder.Calls();
    EXPECT_EQ(calls.at(calls.size() - (failure.hasWindowContext ? 3 : 1)),
              "AfxMessageBox(" + kPrefix + failure.reason + ", 0, 0)");
    EXPECT_EQ(faults.Messages().size(), 1u);
    EXPECT_TRUE(host.IsCurrent());
    EXPECT_EQ(Driver()->IsOperational(), 0);
  }
};

TEST_P(FailureTest, TellsTheReasonKeepsWhatWasMadeAndCanBeRepeated) {
  const platform::HandleCounts before = platform::CountHandles();
  Fail();
  EXPECT_EQ(Driver()->HasCapability(Capability::kGL20), GetParam().HasGL20());
  EXPECT_EQ(Driver()->IsSupportGPU(), GetParam().HasShaders());
  EXPECT_EQ(Driver()->GLVersion(), GetParam().version);
  EXPECT_EQ(GL3GADriver::gl_max_texture_size, 0);
  EXPECT_FALSE(Driver()->HasOption(Option::kAnisotropicAvailable));

  const int made = GetParam().hasWindowContext ? 1 : 0;
  EXPECT_NE(GL3GADriver::m_dummywindow, nullptr);
  for (const void* handle : std::initializer_list<const void*>{
           GL3GADriver::m_hdc, GL3GADriver::m_context, GL3GADriver::m_drawable}) {
    EXPECT_EQ(handle != nullptr, GetParam().hasWindowContext);
  }
  EXPECT_EQ(GL3GADriver::bufwidth, 2 * made);
  EXPECT_EQ(platform::CountHandles().contexts, before.contexts + made) << "no probe outlives it";
  EXPECT_EQ(platform::CountHandles().windows, before.windows + 1);

  EXPECT_EQ(Driver()->Initialize(), 1);
  EXPECT_EQ(Driver()->IsOperational(), 1);
  EXPECT_EQ(platform::CountHandles().contexts, before.contexts + 1);
  EXPECT_EQ(platform::CountHandles().windows, before.windows + 1);
}

TEST_P(FailureTest, EndsAnOperationalDriver) {
  ASSERT_EQ(Driver()->Initialize(), 1);
  Fail();
  EXPECT_EQ(GL3GADriver::m_context != nullptr, GetParam().hasWindowContext);
  EXPECT_EQ(Driver()->IsSupportGPU(), GetParam().HasShaders());
  // The version bit is cleared when the window stands; without one it keeps what was known.
  EXPECT_EQ(Driver()->HasCapability(Capability::kGL20),
            GetParam().HasGL20() || !GetParam().hasWindowContext);
}

INSTANTIATE_TEST_SUITE_P(All, FailureTest, testing::ValuesIn(kFailures));

TEST_F(InitializeTest, SecondChancesForWindowAndPixelFormat) {
  Faults faults;
  GlRecorder recorder(GlRecorder::kPlatform);
  faults.Fail(FaultPoint::kGetDC);
  faults.Fail(FaultPoint::kCglChoosePixelFormat);
  EXPECT_EQ(Driver()->Initialize(), 1);
  EXPECT_EQ(faults.Messages(), Lines());
  EXPECT_EQ(recorder.CallsTo("GetDC"), (Lines{"GetDC(window1) = null", "GetDC(window1) = dc1"}));
  EXPECT_EQ(recorder.CallsTo("CheckoutPort"), Lines{"CheckoutPort(dc1, 0) = port1"});
  const std::string mask = std::to_string(CGDisplayIDToOpenGLDisplayMask(CGMainDisplayID()));
  const Lines formats = recorder.CallsTo("CGLChoosePixelFormat");
  ASSERT_EQ(formats.size(), 2u);
  EXPECT_EQ(formats[1], "CGLChoosePixelFormat({kCGLPFADisplayMask, " + mask + "}) = probeformat1");
}

TEST_F(InitializeTest, VersionsAboveTwoPassAsTheyAreRead) {
  const std::pair<const char*, int> versions[] = {
      {"2.1 Mesa 22.3.6", 21}, {"2.10", 30}, {"3.2 (Compatibility Profile)", 32}};
  for (const auto& [text, version] : versions) {
    GlRecorder recorder;
    recorder.OverrideString(GL_VERSION, text);
    EXPECT_EQ(Driver()->Initialize(), 1) << text;
    EXPECT_EQ(Driver()->GLVersion(), version);
    EXPECT_EQ(Driver()->IsSupportGPU(), 1);
  }
}

TEST_F(InitializeTest, WithoutAnisotropyTheOptionReadsAsOff) {
  for (const bool wasAvailable : {false, true}) {
    RemakeDriver();
    EXPECT_TRUE(!wasAvailable || Driver()->Initialize() == 1);
    Faults faults;
    faults.HideExtension("GL_EXT_texture_filter_anisotropic");
    EXPECT_EQ(Driver()->Initialize(), 1);
    EXPECT_EQ(faults.Messages(), Lines());
    EXPECT_FALSE(Driver()->HasOption(Option::kAnisotropicWanted));
    EXPECT_EQ(Driver()->HasOption(Option::kAnisotropicAvailable), wasAvailable);
    EXPECT_EQ(GL3GADriver::gl_max_texture_max_anisotropy_ext > 0, wasAvailable) << "not asked";
  }
}

TEST_F(InitializeTest, AgainReleasesTheOldAndAsksForTheFirstDepth) {
  ASSERT_EQ(Driver()->Initialize(), 1);
  Driver()->MakeCurrent();
  const HDC firstDC = GL3GADriver::m_hdc;
  const AGLContext firstContext = GL3GADriver::m_context;
  GL3GADriver::m_depthbits = 16;

  GlRecorder recorder(GlRecorder::kPlatform);
  ASSERT_EQ(Driver()->Initialize(), 1);
  Lines begin = recorder.Calls();
  begin.resize(7);
  EXPECT_EQ(begin, (Lines{"aglDestroyContext(context1)", "CheckinPort(dc1, 0)",
                          "DestroyWindow(window1)", kDummyWindow, "GetDC(window2) = dc2",
                          "aglChoosePixelFormat({AGL_DEPTH_SIZE, 32, AGL_DOUBLEBUFFER, AGL_RGBA, "
                          "AGL_ACCELERATED}) = format1",
                          "aglCreateContext(format1, null) = context2"}));
  EXPECT_NE(GL3GADriver::m_hdc, firstDC);
  EXPECT_NE(GL3GADriver::m_context, firstContext);
  EXPECT_EQ(GL3GADriver::m_prevcontext, firstContext) << "the new one is not made current";
}

TEST_F(InitializeTest, TerminateTwiceIsHarmless) {
  ASSERT_EQ(Driver()->Initialize(), 1);
  const HDC dc = GL3GADriver::m_hdc;
  Driver()->MakeCurrent();
  const AGLContext context = GL3GADriver::m_context;
  GlRecorder recorder(GlRecorder::kPlatform);
  EXPECT_EQ(Driver()->Terminate(), 1);
  EXPECT_EQ(recorder.Calls(), (Lines{"aglDestroyContext(context1)", "CheckinPort(dc1, 0)",
                                     "DestroyWindow(window1)"}));
  EXPECT_EQ(GL3GADriver::m_context, nullptr);
  EXPECT_EQ(GL3GADriver::m_prevcontext, context) << "is not told";
  EXPECT_EQ(Driver()->IsOperational(), 1);
  EXPECT_EQ(GL3GADriver::m_dummywindow, nullptr);
  EXPECT_EQ(GL3GADriver::m_hdc, dc) << "the handle of the dead device context is kept";
  recorder.Clear();
  EXPECT_EQ(Driver()->Terminate(), 1);
  EXPECT_EQ(recorder.Calls(), Lines{"CheckinPort(dc1, 0)"});
}

TEST_F(InitializeTest, DerivedDriversEndTheirOwnWay) {
  struct Derived : GL3GADriver {
    int Terminate() override { return ++ends, GL3GADriver::Terminate(); }
    int ends = 0;
  } driver;
  EXPECT_EQ(driver.Initialize(), 1);
  EXPECT_EQ(driver.ends, 1);
}

/// Objects that are made too early, or of a size that nothing has, show nothing and end nothing.
TEST_F(InitializeTest, WhatIsTooEarlyOrTooLargeIsSurvived) {
  for (const bool initialized : {false, true}) {
    if (initialized) {
      ASSERT_EQ(Driver()->Initialize(), 1);
    }
    const TestBitmap bitmap = SolidBitmap(8, 8, {1, 2, 3, 4});
    const std::unique_ptr<GATexture> texture(Driver()->CreateTexture());
    texture->MakeGATexture(bitmap.get(), 0, 0, 0);
    RenderInfo info;
    info.imageWidth = info.imageHeight = 2147483647;
    for (const int mode : {GABuffer::kOnScreen, GABuffer::kOffScreen, GABuffer::kKeepContext}) {
      const std::unique_ptr<GABuffer> buffer(Driver()->CreateBuffer(&info, mode, 0));
      for (const int side : {-2147483647 - 1, -1, 0, 65536, 2147483647}) {
        buffer->Reallocate(side, side, GABuffer::kWithDepth);
        buffer->ComputeProjectionMatrices();
        buffer->Clear();
      }
      tagBITMAPINFO picture{};
      EXPECT_EQ(buffer->Blit(&picture), 0) << "no such memory";
    }
  }
}

}  // namespace
