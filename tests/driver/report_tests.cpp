// What the driver tells about the GL and about errors.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "driver/GL3Driver.h"
#include "platform/cgl.h"
#include "platform/coregraphics.h"
#include "tests/support/driver_fixture.h"
#include "tests/support/faults.h"
#include "tests/support/gl_recorder.h"

namespace {

using Lines = std::vector<std::string>;

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
    GL3().MakeCurrent();
    NoteContexts();
  }
  void TearDown() override {
    EXPECT_EQ(CGLGetCurrentContext(), m_current) << "what was current is current again";
    EXPECT_EQ(platform::CountHandles().contexts, m_contexts);
    DriverFixture::TearDown();
  }
  void NoteContexts() {
    m_current = CGLGetCurrentContext();
    m_contexts = platform::CountHandles().contexts;
  }
  GL3GADriver& GL3() { return *static_cast<GL3GADriver*>(Driver()); }
  std::string Short() { return Driver()->GetDriverInfo(); }
  std::string Extended() { return GL3().GetExtendedDriverInfo().Text(); }
  /// The lines of the extended report below its header.
  Lines Limits() {
    std::istringstream text(Extended());
    Lines lines;
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    lines.erase(lines.begin(), lines.begin() + 5);
    return lines;
  }

 private:
  CGLContextObj m_current = nullptr;
  int m_contexts = 0;
};

std::string Text(GLenum name) {
  return reinterpret_cast<const char*>(glGetString(name));
}

std::string Limit(GLenum name) {
  GLint value = 0;
  glGetIntegerv(name, &value);
  return std::to_string(value);
}

TEST_F(ReportTest, SayWhatTheGLSays) {
  const std::string header = fmt::format(
      "OpenGL3\nVendor: {}\nRenderer: {}\nVersion: {}\nShadingLanguageVersion: {}", Text(GL_VENDOR),
      Text(GL_RENDERER), Text(GL_VERSION), Text(GL_SHADING_LANGUAGE_VERSION));
  EXPECT_EQ(Short(), header);
  ASSERT_EQ(Extended().find(header + "\nGL_MAX_TEXTURE_SIZE"), 0u);
  GLfloat anisotropy = 0;
  glGetFloatv(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, &anisotropy);
  const Lines limits = Limits();
  const std::string indices = Limit(GL_MAX_ELEMENTS_INDICES);
  const std::string vertices = Limit(GL_MAX_ELEMENTS_VERTICES);
  EXPECT_EQ(limits,
            (Lines{"GL_MAX_TEXTURE_SIZE                : " + Limit(GL_MAX_TEXTURE_SIZE),
                   "GL_MAX_TEXTURE_UNITS               : " + Limit(GL_MAX_TEXTURE_UNITS),
                   "GL_MAX_TEXTURE_STACK_DEPTH         : " + Limit(GL_MAX_TEXTURE_STACK_DEPTH),
                   "GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT  : " + fmt::format("{:g}", anisotropy),
                   "GL_MAX_ELEMENTS_INDICES            : " + indices,
                   "GL_MAX_ELEMENTS_VERTICES           : " + vertices,
                   "GL_MAX_ELEMENTS_INDICES_EXT        : " + indices,
                   "GL_MAX_ELEMENTS_VERTICES_EXT       : " + vertices}));
  for (const std::string& line : limits) EXPECT_EQ(line.find(':'), 35u) << line;
}

TEST_F(ReportTest, AskAProbeOfTheirOwn) {
  const std::string mask = std::to_string(CGDisplayIDToOpenGLDisplayMask(CGMainDisplayID()));
  const std::string wanted =
      "CGLChoosePixelFormat({kCGLPFADisplayMask, " + mask +
      ", kCGLPFAColorSize, 24, kCGLPFAAlphaSize, 8, kCGLPFAAccelerated, kCGLPFADoubleBuffer, "
      "kCGLPFAMinimumPolicy, kCGLPFASampleBuffers, 1, kCGLPFASamples, 4}) = null";
  Faults faults;
  faults.Fail(FaultPoint::kCglChoosePixelFormat);
  GlRecorder recorder;
  recorder.LogPlatform(true);
  Short();
  EXPECT_EQ(
      recorder.Calls(),
      (Lines{wanted, "CGLChoosePixelFormat({kCGLPFADisplayMask, " + mask + "}) = probeformat1",
             "CGLCreateContext(probeformat1, null) = probe1", "CGLDestroyPixelFormat(probeformat1)",
             "CGLSetCurrentContext(probe1)", "glGetString(GL_VENDOR)", "glGetString(GL_RENDERER)",
             "glGetString(GL_VERSION)", "glGetString(GL_SHADING_LANGUAGE_VERSION)",
             "CGLDestroyContext(probe1)", "CGLSetCurrentContext(probe2)"}));
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

TEST_F(ReportTest, WorkBeforeInitializeAndSkipWhatTheGLDoesNotTell) {
  RemakeDriver();
  NoteContexts();
  EXPECT_EQ(CGLGetCurrentContext(), nullptr);
  GlRecorder recorder;
  recorder.OverrideString(GL_VENDOR, "V");
  recorder.OverrideString(GL_RENDERER, nullptr);
  recorder.OverrideString(GL_VERSION, "2.1");
  recorder.OverrideString(GL_SHADING_LANGUAGE_VERSION, nullptr);
  EXPECT_EQ(Short(), "OpenGL3\nVendor: V\nRenderer: \nVersion: 2.1\nShadingLanguageVersion: ");
}

TEST_F(ReportTest, AnisotropyIsPrintedAsItIs) {
  for (const auto& [value, text] : {std::pair{16.0f, "16"}, {2.5f, "2.5"}}) {
    GlRecorder recorder;
    recorder.OverrideFloat(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, value);
    EXPECT_EQ(Limits()[3], std::string("GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT  : ") + text);
  }
  GlRecorder recorder;
  recorder.IgnoreFloat(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT);
  EXPECT_EQ(Limits()[3], "GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT  : 0");
}

TEST_F(ReportTest, GenericRenderersAreNoHardware) {
  const struct {
    const char* renderer;
    int hardware;
  } renderers[] = {{"Generic", 0}, {"Big GDI Generic Renderer", 0},
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
  SetLastError(ENOENT);
  const char* text = Driver()->GLGetLastError();
  errno = EACCES;
  EXPECT_STREQ(text, "No such file or directory");
  EXPECT_STREQ(Driver()->GLGetLastError(), "Permission denied");
  SetLastError(99999);
  EXPECT_EQ(Driver()->GLGetLastError(), nullptr) << "the system has no text for it";
}

}  // namespace
