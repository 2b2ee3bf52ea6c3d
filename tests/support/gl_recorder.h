// Records GL calls of the module under test, and puts false answers in the GL's mouth.
//
// The test executable defines the GL functions of gl_calls.inc itself, so the module's calls arrive
// here; each forwards to the real GL. Entry points that GLEW loads are not recorded.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/gl.h"

/// Calls, or other texts, in order.
using Lines = std::vector<std::string>;

/// Records from construction to destruction; at most one lives at a time. A call is a line such as
///   glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, {1, 0.5, 0, 1})
/// with floats as "%g". A client array's place is its distance in bytes from the first array of the
/// same draw, "+12", or "apart" beyond a vertex; pixels are told by their place in a block of the
/// host's heaps, "+0 of 48"; other memory is "pointer". Answers replaced here are the real ones
/// again when the recorder goes.
class GlRecorder {
 public:
  /// What the log tells beyond the calls and their arguments.
  enum Detail {
    /// The indices of glDrawElements.
    kIndices = 1,
    /// Each vertex that glDrawElements draws, as "(position | normal | texture coordinates |
    /// colour)", without the arrays that are not enabled.
    kVertices = 2,
    /// The calls of the platform layer (see platform_calls.h), such as
    ///   aglCreateContext(format1, context1) = context2
    kPlatform = 4,
  };
  explicit GlRecorder(int details = 0);
  ~GlRecorder();
  GlRecorder(const GlRecorder&) = delete;
  GlRecorder& operator=(const GlRecorder&) = delete;

  /// Every call since the start or the last Clear, in order.
  const Lines& Calls() const;
  /// The names of those calls alone.
  Lines Names() const;
  /// The calls whose line begins with `prefix`.
  Lines CallsTo(const std::string& prefix) const;
  /// How many calls there were to the function called `name`.
  int Count(const std::string& name) const;
  void Clear();
  /// The calls, of which none is kept.
  Lines Take();

  /// glGetString(name) answers `text`; null is an answer too. What pauses, as the platform layer
  /// does, is told the truth.
  void OverrideString(GLenum name, const char* text);
  /// glGetIntegerv or glGetFloatv(name) answers `value`; without one it writes nothing, as for an
  /// enumerant that the GL does not know.
  void OverrideNumber(GLenum name, std::optional<double> value);
  /// The next calls of glGetTexLevelParameteriv(target, …, name) answer these values one by one;
  /// later ones are answered by the GL.
  void OverrideTexLevel(GLenum target, GLenum name, const std::vector<GLint>& answers);
};

/// Calls listed in a text, each ended by ';' but for the last, to compare a log with.
Lines CallsIn(const std::string& text);

/// For definitions outside gl_recorder.cpp: whether the platform's calls are wanted in the log just
/// now, and adding a line to it.
bool IsRecordingPlatform();
void RecordLine(const std::string& line);
/// How the log calls a handle: "null", or its kind and a number, in the order in which handles of
/// the kind turn up while a recorder lives.
std::string HandleLabel(const void* handle, const std::string& kind);

/// Keeps calls made while it lives out of the log: for helpers that look at the result.
class GlRecorderPause {
 public:
  GlRecorderPause();
  ~GlRecorderPause();
  GlRecorderPause(const GlRecorderPause&) = delete;
  GlRecorderPause& operator=(const GlRecorderPause&) = delete;
};
