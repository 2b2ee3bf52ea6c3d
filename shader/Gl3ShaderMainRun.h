// What the effects share: the surface they draw with, programs, uniforms, textures, and a run.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "platform/gl.h"
#include "shader/Gl3ShaderProgram.h"

/// A number as hosts hand over integers, truncated. One that no integer holds gives the smallest.
std::int32_t Truncated(double value);

/// A buffer of the current driver with a context for effects, of the output size in `info`. The
/// buffer goes to `*offscreen` also when it gets no context. Null when that fails.
GL3GABuffer* MakeTargetBuffer(RenderInfo* info, GABuffer** offscreen);

/// Compiles a fragment shader and links a program of it alone, for an effect. False when that
/// fails, after the effect's Delete and with the reason in its log: `failure` for the shader.
bool MakeProgram(GL3GAShaderProgram& effect, const char* source, const char* failure,
                 GLuint& program, GLuint& shader);

/// Deletes shaders, then the program that they are attached to, and clears the names; 0 for what
/// does not exist.
void DeleteProgram(GLuint& program, std::initializer_list<GLuint*> shaders);

/// Sets a uniform of the program in use, when it has one of that name.
void SetUniform(GLuint program, const char* name, GLint value);
void SetUniform(GLuint program, const char* name, GLfloat value);

/// A new texture, bound, with a filter and a wrap mode for both directions. Owned by the caller.
GLuint MakeWorkTexture(GLint filter, GLint wrap);

/// One picture's way through an effect.
struct EffectRun {
  GL3GABuffer* target = nullptr;     ///< Whose context to draw in.
  std::array<GLuint, 2> programs{};  ///< Of a pass, in turn.
  std::size_t programCount = 0;
  std::int32_t passes = 0;
  std::int32_t mergeMode = 0;
  std::int32_t width = 0, height = 0;  ///< Pixels of the picture.
};

/// Uploads the picture of `source`, draws it through the programs, and merges the result through
/// `shader`. What it makes in the GL is gone afterwards. Returns 1; 0 without picture or memory.
int RunEffect(GL3GAShaderProgram& shader, const EffectRun& run, HBitmapNode* source,
              HBitmapNode* destination);
