// The effects of a shader program by number. The one file of the core that knows their classes.
#include "shader/Gl3ShaderMain.h"
#include "shader/Gl3ShaderProgram.h"

namespace {

/// Sets an effect up. One that fails is deleted, its pointer cleared.
template <typename Effect>
int InitEffect(Effect*& effect, float* parameters, int count) {
  GL3GAShaderProgram* const object = effect;
  auto* const typed = dynamic_cast<Effect*>(object);
  if (!typed) return 0;  // never made, or gone since it failed before
  if (const int result = typed->InitShader(parameters, count)) return result;
  delete effect;
  effect = nullptr;
  return 0;
}

/// The effect, when it can run.
template <typename Effect>
Effect* Operational(Effect* effect) {
  GL3GAShaderProgram* const object = effect;
  auto* const typed = dynamic_cast<Effect*>(object);
  return typed && typed->IsOperational() ? typed : nullptr;
}

}  // namespace

GL3GAShaderProgram::GL3GAShaderProgram(RenderInfo* info) : m_renderInfo(info) {
  m_blur = new BlurShader(info);
  m_filter = new MiscShader(info);
  m_occlusion = new SSAOShader(info);
  GL3GAShaderProgram::WriteLog(String());
}

GL3GAShaderProgram::~GL3GAShaderProgram() {
  delete m_blur;
  m_blur = nullptr;
  delete m_filter;
  m_filter = nullptr;
  delete m_occlusion;
  m_occlusion = nullptr;
}

int GL3GAShaderProgram::Init(int effect, float* parameters, int count) {
  switch (effect) {
    case kBlur:
      return InitEffect(m_blur, parameters, count);
    case kFilter:
      return InitEffect(m_filter, parameters, count);
    case kOcclusion:
      return InitEffect(m_occlusion, parameters, count);
    default:
      return 0;
  }
}

int GL3GAShaderProgram::Process(int effect, HBitmapNode* source, HBitmapNode* destination,
                                float value) {
  if (effect == kBlur) {
    BlurShader* const blur = Operational(m_blur);
    return blur ? blur->ProcessShader(source, destination) : 0;
  }
  if (effect == kFilter) {
    MiscShader* const filter = Operational(m_filter);
    return filter ? filter->ProcessShader(source, destination) : 0;
  }
  if (effect == kOcclusion) {
    SSAOShader* const occlusion = Operational(m_occlusion);
    return occlusion ? occlusion->ProcessShader(source, destination, value) : 0;
  }
  return 0;
}
