// What the driver tells about the GL it found: the short and the long report, whether the renderer
// is a generic one, and the system's last error.
#include <cstdio>

#include "driver/GL3Driver.h"
#include "driver/ProbeContext.h"
#include "host/String.h"
#include "platform/gl.h"

namespace {

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
    // The same two limits once more: the report lists both spellings.
    {"\nGL_MAX_ELEMENTS_INDICES_EXT        : ", GL_MAX_ELEMENTS_INDICES_EXT, false},
    {"\nGL_MAX_ELEMENTS_VERTICES_EXT       : ", GL_MAX_ELEMENTS_VERTICES_EXT, false}};

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

const char* GL3GADriver::GetDriverInfo() {
  static String report;
  ProbeContext probe;
  switch (probe.Open(ProbeContext::Samples::kFour)) {
    case ProbeContext::Result::kNoFormat:
      report = kNoFormatReport;
      break;
    case ProbeContext::Result::kNoContext:  // the text of the last report stays
      break;
    case ProbeContext::Result::kReady:
      report = HeaderText();
      break;
  }
  return report.Text();
}

String GL3GADriver::GetExtendedDriverInfo() {
  ProbeContext probe;
  const ProbeContext::Result result = probe.Open(ProbeContext::Samples::kFour);
  if (result == ProbeContext::Result::kNoFormat) return kNoFormatReport;
  if (result == ProbeContext::Result::kNoContext) return {};
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
