// The driver's upper floor: construction with the settings, and the factories, which know every
// other class.
#include "driver/GL3Driver.h"

#include <memory>

#include "buffer/GL3Buffer.h"
#include "buffer/GL3Color.h"
#include "displaylist/GL3DisplayL.h"
#include "settings/GL3Property.h"
#include "settings/StoredSettings.h"
#include "shader/Gl3ShaderProgram.h"
#include "texture/GL3Texture.h"

GL3GADriver::GL3GADriver() {
  ReadSettings(*this);
  // The host's own setting: it is in the host's section, and this module never writes it.
  m_azprocessor = GetRegistryValue("General", "OpenMP Threads", 1);
  m_useopenmp = m_azprocessor > 1;
  SetDefaults();
  gl_max_texture_size = 0;
  gl_max_texture_max_anisotropy_ext = 0;
  SetOption(kAnisotropicAvailable, false);
  m_drawable = nullptr;
  m_prevcontext = nullptr;
  rowbytes = 0;
  baseaddr = nullptr;
  bufwidth = 0;
  bufheight = 0;
  m_depthbits = 32;
  SetOption(kReducedPage, false);
  m_capabilities |= kGpuShaders;
}

GL3GADriver::~GL3GADriver() {
  GL3GADriver::Terminate();
}

GANativeColor* GL3GADriver::CreateColor() {
  return new GL3Color();
}
GANativeColor* GL3GADriver::CreateColor(const ColorBuf& color) {
  return new GL3Color(color);
}
GANativeColor* GL3GADriver::CreateColor(const RGBFloat& color) {
  return new GL3Color(color);
}
GANativeColor* GL3GADriver::CreateColor(const Vector4& color) {
  return new GL3Color(color);
}

GANativeColor* GL3GADriver::CreateColor(const GAColor& color) {
  return new GL3Color(static_cast<const GL3Color*>(color.Native()));
}

GABuffer* GL3GADriver::CreateBuffer(RenderInfo* info, int mode, int compatibleDC) {
  return new GL3GABuffer(info, mode, compatibleDC);
}

GATexture* GL3GADriver::CreateTexture() {
  return new GL3GATexture();
}

DisplayList* GL3GADriver::CreateDisplayList(RenderInfo* info) {
  if (!info) return nullptr;
  std::unique_ptr<GL3DisplayList> list(new GL3DisplayList(info));
  return list && list->HasBuffer() ? list.release() : nullptr;
}

GAShaderProgram* GL3GADriver::CreateShaderProgram(RenderInfo* info) {
  return new GL3GAShaderProgram(info);
}

CPropertyPage* GL3GADriver::CreatePropertyPage(int reduced) {
  // From the general heap, where everything else for the host comes from the host's own.
  return new COpenGLPropertyPage(this, reduced);
}
