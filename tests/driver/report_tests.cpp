// What the driver tells about the GL and about errors.
#include <cerrno>

#include "platform/cgl.h"
#include "platform/coregraphics.h"
#include "platform/platform.h"
#include "tests/support/driver_fixture.h"
#include "tests/support/faults.h"
#include "tests/support/gl_recorder.h"

namespace {

constexpr char kNoFormat[] = "OpenGL3 Error\nNo matching pixelformat found\n";

/// With the driver's own context current, as a host may have it when it asks.
class ReportTest : public DriverFixture {
 protected:
  /// The texts that are kept from call to call are on the string heap from here on.
  static void SetUpTestSuite() {
    const std::unique_ptr<GADriver> driver(CreateDriver());
    driver->GetDriverInfo();
    driver->GLGetLastError();
  }
  void SetUp() override {
    DriverFixture::SetUp();
    Driver()->MakeCurrent();
    NoteContexts();
  }
  void TearDown() override {
    EXPECT_EQ(CGLGetCurrentContext(), m_current) << "what was current is current again";
    EXPECT_EQ(GL3GADriver::m_prevcontext, m_previous);
    EXPECT_EQ(platform::CountHandles().contexts, m_contexts);
    DriverFixture::TearDown();
  }
  void NoteContexts() {
    m_current = CGLGetCurrentContext();
    m_previous = GL3GADriver::m_prevcontext;
    m_contexts = platform::CountHandles().contexts;
  }
  std::string Short() { return Driver()->GetDriverInfo(); }
  std::string Extended() { return Driver()->GetExtendedDriverInfo().Text(); }

  CGLContextObj m_current = nullptr;
  AGLContext m_previous = nullptr;
  int m_contexts = 0;
};

TEST_F(ReportTest, SayWhatTheGLSays) {
  GlRecorder recorder;  // no two answers alike, and none the GL's own
  recorder.OverrideString(GL_VENDOR, "Some Vendor");
  recorder.OverrideString(GL_RENDERER, "A Renderer/7");
  recorder.OverrideString(GL_VERSION, "2.1 Old");
  recorder.OverrideString(GL_SHADING_LANGUAGE_VERSION, "1.20");
  recorder.OverrideNumber(GL_MAX_TEXTURE_SIZE, 2147483647);
  recorder.OverrideNumber(GL_MAX_TEXTURE_UNITS, 6);
  recorder.OverrideNumber(GL_MAX_TEXTURE_STACK_DEPTH, 11);
  recorder.OverrideNumber(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, 2.5f);
  recorder.OverrideNumber(GL_MAX_ELEMENTS_INDICES, 4567);
  recorder.OverrideNumber(GL_MAX_ELEMENTS_VERTICES, {});
  const std::string header =
      "OpenGL3\nVendor: Some Vendor\nRenderer: A Renderer/7\nVersion: 2.1 Old"
      "\nShadingLanguageVersion: 1.20";
  EXPECT_EQ(Short(), header);
  EXPECT_EQ(Extended(), header +
                            "\nGL_MAX_TEXTURE_SIZE                : 2147483647"
                            "\nGL_MAX_TEXTURE_UNITS               : 6"
                            "\nGL_MAX_TEXTURE_STACK_DEPTH         : 11"
                            "\nGL_MAX_TEXTURE_MAX_ANISOTROPY_EXT  : 2.5"
                            "\nGL_MAX_ELEMENTS_INDICES            : 4567"
                            "\nGL_MAX_ELEMENTS_VERTICES           : 0"
                            "\nGL_MAX_ELEMENTS_INDICES_EXT        : 4567"
                            "\nGL_MAX_ELEMENTS_VERTICES_EXT       : 0");
  const auto expectAnisotropy = [this](const char* text) {
    EXPECT_NE(Extended().find(std::string("ANISOTROPY_EXT  : ") + text + "\n"), std::string::npos);
  };
  recorder.OverrideNumber(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, 16);
  expectAnisotropy("16");
  recorder.OverrideNumber(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, {});
  expectAnisotropy("0");
  // What the GL does not tell is left out.
  recorder.OverrideString(GL_RENDERER, nullptr);
  recorder.OverrideString(GL_SHADING_LANGUAGE_VERSION, nullptr);
  EXPECT_EQ(Short(),
            "OpenGL3\nVendor: Some Vendor\nRenderer: \nVersion: 2.1 Old"
            "\nShadingLanguageVersion: ");
}

TEST_F(ReportTest, AskAProbeOfTheirOwn) {
  const std::string mask = std::to_string(CGDisplayIDToOpenGLDisplayMask(CGMainDisplayID()));
  const std::string wanted =
      "CGLChoosePixelFormat({kCGLPFADisplayMask, " + mask +
      ", kCGLPFAColorSize, 24, kCGLPFAAlphaSize, 8, kCGLPFAAccelerated, kCGLPFADoubleBuffer, "
      "kCGLPFAMinimumPolicy, kCGLPFASampleBuffers, 1, kCGLPFASamples, 4}) = ";
  const std::string fallback = "CGLChoosePixelFormat({kCGLPFADisplayMask, " + mask + "}) = ";
  const auto calls = [this](FaultPoint point, int failures, bool extended) {
    Faults faults;
    faults.Fail(point, 1, failures);
    GlRecorder recorder(GlRecorder::kPlatform);
    HandleLabel(m_current, "before");
    extended ? Extended() : Short();
    Lines platform;
    for (const std::string& call : recorder.Calls()) {
      if (!call.starts_with("glGet")) platform.push_back(call);
    }
    return platform;
  };
  for (const bool extended : {false, true}) {
    EXPECT_EQ(calls(FaultPoint::kGetDC, 1, extended),  // which is not asked for
              (Lines{wanted + "probeformat1", "CGLCreateContext(probeformat1, null) = probe1",
                     "CGLDestroyPixelFormat(probeformat1)", "CGLSetCurrentContext(probe1)",
                     "CGLDestroyContext(probe1)", "CGLSetCurrentContext(before1)"}));
    EXPECT_EQ(calls(FaultPoint::kCglCreateContext, 1, extended),
              (Lines{wanted + "probeformat1", "CGLCreateContext(probeformat1, null) = null",
                     "CGLDestroyPixelFormat(probeformat1)", "CGLSetCurrentContext(null)",
                     "CGLDestroyContext(null)", "CGLSetCurrentContext(before1)"}));
    Lines second = calls(FaultPoint::kCglChoosePixelFormat, 1, extended);
    ASSERT_EQ(second.size(), 7u);
    EXPECT_EQ(second[0], wanted + "null");
    EXPECT_EQ(second[1], fallback + "probeformat1");
    EXPECT_EQ(calls(FaultPoint::kCglChoosePixelFormat, 2, extended),
              (Lines{wanted + "null", fallback + "null", "CGLDestroyContext(null)",
                     "CGLSetCurrentContext(before1)"}));
  }
}

TEST_F(ReportTest, WithoutAFormatAFixedTextUntilTheNextGoodCall) {
  const std::string good = Short();
  {
    Faults faults;
    faults.FailAlways(FaultPoint::kCglChoosePixelFormat);
    EXPECT_EQ(Short(), kNoFormat);
    EXPECT_EQ(Extended(), kNoFormat);
    EXPECT_EQ(faults.Messages(), Lines()) << "nothing is shown";
  }
  {
    Faults faults;
    faults.FailAlways(FaultPoint::kCglCreateContext);
    EXPECT_EQ(Short(), kNoFormat) << "a probe without a context leaves the text as it was";
    EXPECT_EQ(Extended(), "");
  }
  EXPECT_EQ(Short(), good);
}

TEST_F(ReportTest, WorkBeforeInitialize) {
  RemakeDriver();
  NoteContexts();
  EXPECT_EQ(CGLGetCurrentContext(), nullptr);
  EXPECT_TRUE(Short().starts_with("OpenGL3\nVendor: "));
  EXPECT_TRUE(Extended().starts_with(Short() + "\nGL_MAX_TEXTURE_SIZE"));
}

TEST_F(ReportTest, GenericRenderersAreNoHardware) {
  const std::pair<const char*, int> renderers[] = {{"Generic", 0}, {"Big GDI Generic Renderer", 0},
                                                   {"generic", 1}, {"GENERIC 3D", 1},
                                                   {"Gener", 1},   {"llvmpipe", 1},
                                                   {"", 1},        {nullptr, 1}};
  for (const auto& [renderer, hardware] : renderers) {
    GlRecorder recorder;
    recorder.OverrideString(GL_RENDERER, renderer);
    EXPECT_EQ(Driver()->IsHardwareSupport(), hardware) << (renderer ? renderer : "null");
    EXPECT_EQ(recorder.Names(), Lines{"glGetString"}) << "asks the context that is current";
  }
}

TEST_F(ReportTest, LastErrorsTextStaysUntilTheNextCall) {
  GlRecorder recorder(GlRecorder::kPlatform);
  SetLastError(ENOENT);
  const char* text = Driver()->GLGetLastError();
  errno = EACCES;
  EXPECT_STREQ(text, "No such file or directory");
  EXPECT_STREQ(Driver()->GLGetLastError(), "Permission denied");
  SetLastError(99999);
  EXPECT_EQ(Driver()->GLGetLastError(), nullptr) << "the system has no text for it";
  EXPECT_EQ(recorder.CallsTo("FormatMessageA"),
            CallsIn("FormatMessageA(0x1100, 2, 0x400, 0); FormatMessageA(0x1100, 13, 0x400, 0);"
                    "FormatMessageA(0x1100, 99999, 0x400, 0)"));
  EXPECT_EQ(recorder.Count("LocalFree"), 2) << "the system's text is copied";
}

}  // namespace
