// One picture's way through an effect, and what the effects make on the GL for it.
#include "shader/Gl3ShaderMainRun.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>

#include "buffer/GL3Buffer.h"
#include "driver/GL3Driver.h"
#include "host/Heaps.h"
#include "texture/TexturePixels.h"

namespace {

/// Over all of the viewport; the target buffer's matrices are identities.
void DrawQuad() {
  glBegin(GL_POLYGON);
  glTexCoord2f(0, 0);
  glVertex2f(-1, -1);
  glTexCoord2f(0, 1);
  glVertex2f(-1, 1);
  glTexCoord2f(1, 1);
  glVertex2f(1, 1);
  glTexCoord2f(1, 0);
  glVertex2f(1, -1);
  glEnd();
}

/// What a pass draws into: a texture in a frame-buffer object, bound for drawing and reading.
class WorkTarget {
 public:
  WorkTarget(int width, int height) : m_texture(MakeWorkTexture(GL_LINEAR, GL_CLAMP_TO_EDGE)) {
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    glGenFramebuffers(1, &m_frameBuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, m_frameBuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, m_texture, 0);
  }
  WorkTarget(const WorkTarget&) = delete;
  WorkTarget& operator=(const WorkTarget&) = delete;
  ~WorkTarget() {
    glDeleteTextures(1, &m_texture);
    // The binding for drawing is left to the deletion, which puts it back to 0 as well.
    glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);
    glDeleteFramebuffers(1, &m_frameBuffer);
  }

 private:
  GLuint m_texture;
  GLuint m_frameBuffer = 0;
};

/// Draws the picture through every pass; its own texture takes the results.
void DrawPasses(const EffectRun& run, GLuint picture) {
  glBindTexture(GL_TEXTURE_2D, picture);
  const auto copyBack = [&] {
    glCopyTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 0, 0, run.width, run.height);
  };
  DrawQuad();
  for (std::int32_t pass = 0; pass < run.passes; ++pass) {
    for (std::size_t i = 0; i < run.programCount; ++i) {
      glUseProgram(run.programs[i]);
      DrawQuad();
      glUseProgram(0);
      copyBack();
    }
  }
  glBindTexture(GL_TEXTURE_2D, picture);
  copyBack();
}

/// The bound texture's `pixels` texels. There is room for a picture of the run's size too: one that
/// is larger than its texture is black beyond it. Null without memory; released with FreeExt.
unsigned char* ReadTexture(const EffectRun& run, int pixels) {
  const std::size_t wanted = static_cast<std::size_t>(std::max(run.width, 0)) *
                             static_cast<std::size_t>(std::max(run.height, 0));
  const auto read = static_cast<std::size_t>(pixels);
  const std::size_t room = std::max(read, wanted);
  if (room > std::numeric_limits<std::size_t>::max() / 4) return nullptr;
  auto* bytes = static_cast<unsigned char*>(AllocExt(room * 4));
  if (!bytes) return nullptr;
  if (room > read) std::memset(bytes + read * 4, 0, (room - read) * 4);
  glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, bytes);
  return bytes;
}

}  // namespace

std::int32_t Truncated(double value) {
  constexpr double kEnd = 2147483648.0;
  if (value > -kEnd - 1 && value < kEnd) return static_cast<std::int32_t>(value);
  return std::numeric_limits<std::int32_t>::min();
}

GL3GABuffer* MakeTargetBuffer(RenderInfo* info, GABuffer** offscreen) {
  GL3GADriver* driver = CurrentDriver();
  if (!driver || !info || !driver->IsOperational()) return nullptr;
  *offscreen = driver->CreateBuffer(info, GL3GABuffer::kKeepContext, 0);
  if (!*offscreen || !(*offscreen)->AllocateforShader(info->imageWidth, info->imageHeight)) {
    return nullptr;
  }
  return static_cast<GL3GABuffer*>(*offscreen);
}

bool MakeProgram(GL3GAShaderProgram& effect, const char* source, const char* failure,
                 GLuint& program, GLuint& shader) {
  shader = effect.LoadShaderFromSource(source, GL_FRAGMENT_SHADER);
  if (!shader) {
    effect.Delete();
    effect.WriteLog(failure);
    return false;
  }
  program = effect.CreateProgramFromShaders(0, shader);
  if (!program) effect.Delete();
  return program != 0;
}

void DeleteProgram(GLuint& program, std::initializer_list<GLuint*> shaders) {
  for (GLuint* shader : shaders) {
    if (!*shader) continue;
    if (program) glDetachShader(program, *shader);
    glDeleteShader(*shader);
    *shader = 0;
  }
  if (!program) return;
  glDeleteProgram(program);
  program = 0;
}

void SetUniform(GLuint program, const char* name, GLint value) {
  const GLint location = glGetUniformLocation(program, name);
  if (location != -1) glUniform1i(location, value);
}

void SetUniform(GLuint program, const char* name, GLfloat value) {
  const GLint location = glGetUniformLocation(program, name);
  if (location != -1) glUniform1f(location, value);
}

GLuint MakeWorkTexture(GLint filter, GLint wrap) {
  const GLuint texture = MakeBoundTexture({});
  const TextureParameter parameters[] = {{GL_TEXTURE_MIN_FILTER, filter},
                                         {GL_TEXTURE_MAG_FILTER, filter},
                                         {GL_TEXTURE_WRAP_S, wrap},
                                         {GL_TEXTURE_WRAP_T, wrap}};
  for (const TextureParameter& each : parameters) {
    glTexParameterf(GL_TEXTURE_2D, each.name, static_cast<GLfloat>(each.value));
  }
  return texture;
}

int RunEffect(GL3GAShaderProgram& shader, const EffectRun& run, HBitmapNode* source,
              HBitmapNode* destination) {
  if (!run.target || !source) return 0;
  run.target->MakeCurrent(0);
  glClearColor(0, 0, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glEnable(GL_TEXTURE_2D);

  int pixels = 0;
  GLuint texture = 0;
  {
    const WorkTarget target(run.width, run.height);
    texture = shader.CreateTextureForShader(source, pixels);
    if (!texture) return 0;
    DrawPasses(run, texture);
  }
  unsigned char* bytes = ReadTexture(run, pixels);
  if (bytes) {
    shader.MergeBuffers(source, destination, bytes, run.mergeMode, 0, 0.0f, run.width, run.height);
    FreeExt(bytes);
  }
  glBindTexture(GL_TEXTURE_2D, 0);
  glDeleteTextures(1, &texture);
  return bytes ? 1 : 0;
}
