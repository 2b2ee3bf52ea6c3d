// Calls of GLEW's entry points, among those that GlRecorder tells.
#pragma once

/// Stands in front of the functions of shaders, programs, uniforms and frame-buffer objects while
/// it lives. A log with platform calls tells theirs too, shaders and programs by a number in the
/// order in which they turn up, uniforms by name, sources by their length, as in
///   glUniform1f(bloom, 0.2)
class GlewCalls {
 public:
  GlewCalls();
  ~GlewCalls();
  GlewCalls(const GlewCalls&) = delete;
  GlewCalls& operator=(const GlewCalls&) = delete;
};
