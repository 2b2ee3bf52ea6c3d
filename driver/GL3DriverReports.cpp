// What the driver tells about the GL it found: the short and the long report, whether the renderer
// is a real one, and the system's last error.
#include "driver/GL3DriverReports.h"

#include <cstddef>
#include <cstdio>

#include "driver/GL3Driver.h"
#include "host/String.h"
#include "platform/coregraphics.h"
#include "platform/gl.h"

namespace {

const CGDirectDisplayID display = CGMainDisplayID();
const CGOpenGLDisplayMask myDisplayMask = CGDisplayIDToOpenGLDisplayMask(display);

constexpr char kNoFormatReport[] = "OpenGL3 Error\nNo matching pixelformat found\n";

struct HeaderLine {
  const char* label;
  GLenum name;
};
constexpr HeaderLine kHeader[] = {{"\nVendor: ", GL_VENDOR},
                                  {"\nRenderer: ", GL_RENDERER},
                                  {"\nVersion: ", GL_VERSION},
                                  {"\nShadingLanguageVersion: ", GL_SHADING_LANGUAGE_VERSION}};

/// The labels' padding is part of the report: the colons stand below each other.
struct LimitLine {
  const char* label;
  GLenum name;
  bool isFloat;
};
constexpr LimitLine kLimits[] = {
    {"\nGL_MAX_TEXTURE_SIZE                : ", GL_MAX_TEXTURE_SIZE, false},
    {"\nGL_MAX_TEXTURE_UNITS               : ", GL_MAX_TEXTURE_UNITS, false},
    {"\nGL_MAX_TEXTURE_STACK_DEPTH         : ", GL_MAX_TEXTURE_STACK_DEPTH, false},
    {"\nGL_MAX_TEXTURE_MAX_ANISOTROPY_EXT  : ", GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, true},
    {"\nGL_MAX_ELEMENTS_INDICES            : ", GL_MAX_ELEMENTS_INDICES, false},
    {"\nGL_MAX_ELEMENTS_VERTICES           : ", GL_MAX_ELEMENTS_VERTICES, false},
    // The same two limits once more on purpose: the report lists both spellings.
    {"\nGL_MAX_ELEMENTS_INDICES_EXT        : ", GL_MAX_ELEMENTS_INDICES_EXT, false},
    {"\nGL_MAX_ELEMENTS_VERTICES_EXT       : ", GL_MAX_ELEMENTS_VERTICES_EXT, false}};

const char* GLText(GLenum name) {
  return reinterpret_cast<const char*>(glGetString(name));
}

String HeaderText() {
  String text("OpenGL3");
  for (const HeaderLine& line : kHeader) {
    text += line.label;
    text += GLText(line.name);
  }
  return text;
}

/// A limit that the GL does not know is not set by the query, and reads as 0.
String LimitText(const LimitLine& limit) {
  char value[20];
  if (limit.isFloat) {
    GLfloat number = 0;
    glGetFloatv(limit.name, &number);
    std::snprintf(value, sizeof value, "%g", static_cast<double>(number));
  } else {
    GLint number = 0;
    glGetIntegerv(limit.name, &number);
    std::snprintf(value, sizeof value, "%d", number);
  }
  return String(limit.label) + value;
}

}  // namespace

ReportProbe OpenReportProbe(ProbeContext& probe) {
  const auto mask = static_cast<CGLPixelFormatAttribute>(myDisplayMask);
  const CGLPixelFormatAttribute wanted[] = {kCGLPFADisplayMask,
                                            mask,
                                            kCGLPFAColorSize,
                                            24,
                                            kCGLPFAAlphaSize,
                                            8,
                                            kCGLPFAAccelerated,
                                            kCGLPFADoubleBuffer,
                                            kCGLPFAMinimumPolicy,
                                            kCGLPFASampleBuffers,
                                            1,
                                            kCGLPFASamples,
                                            4,
                                            0};
  const CGLPixelFormatAttribute fallback[] = {kCGLPFADisplayMask, mask, 0};
  if (!probe.Open({wanted, fallback})) return ReportProbe::kNoFormat;
  return probe.HasContext() ? ReportProbe::kReady : ReportProbe::kNoContext;
}

const char* GL3GADriver::GetDriverInfo() {
  static String report;
  ProbeContext probe;
  switch (OpenReportProbe(probe)) {
    case ReportProbe::kNoFormat:
      report = kNoFormatReport;
      break;
    case ReportProbe::kNoContext:  // what was reported last still is the best that is known
      break;
    case ReportProbe::kReady:
      report = HeaderText();
      break;
  }
  return report.Text();
}

String GL3GADriver::GetExtendedDriverInfo() {
  ProbeContext probe;
  const ReportProbe state = OpenReportProbe(probe);
  if (state == ReportProbe::kNoFormat) return kNoFormatReport;
  if (state == ReportProbe::kNoContext) return {};
  String report = HeaderText();
  for (const LimitLine& limit : kLimits) report += LimitText(limit);
  return report;
}

int GL3GADriver::IsHardwareSupport() {
  const String renderer(GLText(GL_RENDERER));
  return renderer.Find("Generic") < 0 ? 1 : 0;
}

const char* GL3GADriver::GLGetLastError() {
  static String text;  // what the last call returned is read until the next one
  char* message = nullptr;
  FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr,
                 GetLastError(), LANG_USER_DEFAULT, reinterpret_cast<char*>(&message), 0, nullptr);
  if (!message) return nullptr;
  text = message;
  LocalFree(message);
  return text.Text();
}
