// Effect 0: blur.
#include <algorithm>
#include <cmath>

#include "buffer/GL3Buffer.h"
#include "shader/Gl3ShaderMain.h"
#include "shader/Gl3ShaderMainRun.h"
#include "shader/Gl3ShaderMainSources.h"

namespace {

/// Samples to either side of the middle.
int StepsFor(float radius) {
  constexpr double kPi = 3.141592653589793;
  return Truncated(std::min(std::sqrt(static_cast<double>(radius)) * kPi, radius * 0.7));
}

}  // namespace

BlurShader::BlurShader(RenderInfo* info) {
  m_renderInfo = info;
}

BlurShader::~BlurShader() {
  BlurShader::Delete();
}

void BlurShader::Delete() {
  if (m_targetBuffer) m_targetBuffer->MakeCurrent(0);
  DeleteProgram(m_horizontalProgram, {&m_horizontalShader});
  DeleteProgram(m_verticalProgram, {&m_verticalShader});
}

int BlurShader::InitShader(float* parameters, int) {
  Delete();  // of an earlier set-up
  m_operational = 0;
  m_mergeMode = Truncated(parameters[0]);
  m_passes = Truncated(parameters[1]);
  const float radius = parameters[2];
  m_width = Truncated(parameters[3]);
  m_height = Truncated(parameters[4]);

  WriteLog("Creating Blur shader");
  GL3GABuffer* const target = MakeTargetBuffer(m_renderInfo, &m_offscreenBuffer);
  if (!target) {
    Delete();
    WriteLog("Blur shader AllocateforShader failed");
    return 0;
  }
  m_targetBuffer = target;
  if (!MakeProgram(*this, kBlurHorizontalSource, "BlurFragmentShaderH failed", m_horizontalProgram,
                   m_horizontalShader) ||
      !MakeProgram(*this, kBlurVerticalSource, "BlurFragmentShaderV failed", m_verticalProgram,
                   m_verticalShader)) {
    return 0;
  }
  SetUniforms(m_horizontalProgram, m_width, radius);
  SetUniforms(m_verticalProgram, m_height, radius);
  glUseProgram(0);
  m_operational = 1;
  WriteLog("Blur Shader operational");
  return 1;
}

/// Leaves the program in use. `side` is the picture's extent in pixels in the direction that the
/// program samples in.
void BlurShader::SetUniforms(GLuint program, int side, float radius) const {
  const int steps = StepsFor(radius);
  glUseProgram(program);
  SetUniform(program, "texture0", 0);
  SetUniform(program, "e_step", 1.0f / static_cast<float>(side));
  SetUniform(program, "steps", steps);
  SetUniform(program, "radius", radius);
  SetUniform(program, "bloom", static_cast<float>(1.0 / (2.0 * steps + 1)));
}

int BlurShader::ProcessShader(HBitmapNode* source, HBitmapNode* destination) {
  return RunEffect(*this,
                   {m_targetBuffer,
                    {m_verticalProgram, m_horizontalProgram},
                    2,
                    m_passes,
                    m_mergeMode,
                    m_width,
                    m_height},
                   source, destination);
}
