// Calls of the platform layer as lines of GlRecorder's log. For the definitions that stand in front
// of the layer's; a test asks for the lines with GlRecorder::kPlatform.
#pragma once

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <string>
#include <type_traits>
#include <vector>

#include "platform/agl.h"
#include "platform/cgl.h"
#include "platform/corefoundation.h"
#include "platform/ports.h"
#include "platform/win32.h"
#include "tests/support/gl_recorder.h"

/// Attribute lists with their enumerants by name, without the terminator.
std::string AglList(const GLint* attributes);
std::string CglList(const CGLPixelFormatAttribute* attributes);

template <typename Opaque>
const char* HandleKind() {
  if (std::is_same_v<Opaque, OpaqueAGLContext>) return "context";
  if (std::is_same_v<Opaque, OpaqueAGLPixelFormat>) return "format";
  if (std::is_same_v<Opaque, OpaqueAGLPbuffer>) return "pbuffer";
  if (std::is_same_v<Opaque, OpaqueGrafPort>) return "port";
  if (std::is_same_v<Opaque, OpaqueDeviceContext>) return "dc";
  if (std::is_same_v<Opaque, OpaqueWindow>) return "window";
  if (std::is_same_v<Opaque, OpaqueCGLContext>) return "probe";
  if (std::is_same_v<Opaque, OpaqueCGLPixelFormat>) return "probeformat";
  if (std::is_same_v<Opaque, PixMap*>) return "pixmap";
  if (std::is_same_v<Opaque, const OpaqueCFURL>) return "url";
  if (std::is_same_v<Opaque, const OpaqueCFString>) return "string";
  if (std::is_same_v<Opaque, OpaqueCFBundle>) return "bundle";
  return "block";
}

/// What GetGWorldPixMap answers, when a test has set it, in place of a window's map.
inline std::optional<PixMap*> g_pixMap;

/// One call of the layer: logs it, and keeps what the layer itself calls out of the log for as long
/// as this lives. Handles are told by their label, texts as they are.
class PlatformCall {
 public:
  template <typename... Arguments>
  explicit PlatformCall(const char* name, const Arguments&... arguments)
      : m_logged(IsRecordingPlatform()) {
    if (m_logged) {
      const std::vector<std::string> texts = {Describe(arguments)...};
      m_line = fmt::format("{}({})", name, fmt::join(texts, ", "));
    }
  }
  PlatformCall(const PlatformCall&) = delete;
  PlatformCall& operator=(const PlatformCall&) = delete;
  ~PlatformCall() {
    if (m_logged) RecordLine(m_line);
  }

  /// Adds the handle that the call returns to its line, and passes it on.
  template <typename Opaque>
  Opaque* Returns(Opaque* handle) {
    if (m_logged) m_line += " = " + Describe(handle);
    return handle;
  }

 private:
  static std::string Describe(const std::string& text) { return text; }
  template <typename Opaque>
  static std::string Describe(Opaque* handle) {
    return HandleLabel(handle, HandleKind<Opaque>());
  }
  static std::string Describe(int value) { return std::to_string(value); }

  bool m_logged;
  std::string m_line;
  GlRecorderPause m_pause;
};
