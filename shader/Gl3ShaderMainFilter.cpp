// Effect 1: image filters.
#include <cstdio>

#include "buffer/GL3Buffer.h"
#include "shader/Gl3ShaderMain.h"
#include "shader/Gl3ShaderMainRun.h"
#include "shader/Gl3ShaderMainSources.h"

MiscShader::MiscShader(RenderInfo* info) {
  m_renderInfo = info;
}

MiscShader::~MiscShader() {
  MiscShader::Delete();
}

void MiscShader::Delete() {
  if (m_targetBuffer) m_targetBuffer->MakeCurrent(0);
  DeleteProgram(m_program, {&m_shader});
}

int MiscShader::InitShader(float* parameters, int) {
  Delete();  // of an earlier set-up
  m_operational = 0;
  m_mergeMode = Truncated(parameters[0]);
  m_passes = Truncated(parameters[1]);
  m_filter = Truncated(parameters[2]);
  m_width = Truncated(parameters[3]);
  m_height = Truncated(parameters[4]);

  char number[20] = {};
  std::snprintf(number, sizeof number, "%d", m_filter);
  WriteLog(String("Creating Misc shader\nSelected Type = ") + number + "\n");
  GL3GABuffer* const target = MakeTargetBuffer(m_renderInfo, &m_offscreenBuffer);
  if (!target) {
    WriteLog("Misc shader AllocateforShader failed");
    return 0;
  }
  m_targetBuffer = target;
  if (!MakeProgram(*this, kFilterSource, "MiscFragmentShader failed", m_program, m_shader)) {
    return 0;
  }
  SetUniforms();
  glUseProgram(0);
  m_operational = 1;
  WriteLog("Misc Shader operational");
  return 1;
}

/// Leaves the program in use.
void MiscShader::SetUniforms() const {
  // Column by column: what the edge filters call horizontal lies in the rows above and below.
  const float dx = 1.0f / static_cast<float>(m_width);
  const float dy = 1.0f / static_cast<float>(m_height);
  GLfloat offsets[9][2];
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      offsets[3 * i + j][0] = static_cast<float>(i) * dx - dx;
      offsets[3 * i + j][1] = static_cast<float>(j) * dy - dy;
    }
  }
  glUseProgram(m_program);
  SetUniform(m_program, "colorTexture", 0);
  const GLint location = glGetUniformLocation(m_program, "tcOffset");
  if (location != -1) glUniform2fv(location, 9, offsets[0]);
  SetUniform(m_program, "filterNumber", m_filter);
}

int MiscShader::ProcessShader(HBitmapNode* source, HBitmapNode* destination) {
  return RunEffect(*this,
                   {m_targetBuffer, {m_program}, 1, m_passes, m_mergeMode, m_width, m_height},
                   source, destination);
}
