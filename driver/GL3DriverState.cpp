// The driver's shared state: statics and the context that everyone's objects live in.
#include "driver/GL3Driver.h"
#include "platform/cgl.h"

AGLContext GL3GADriver::m_context = nullptr;
AGLContext GL3GADriver::m_prevcontext = nullptr;
AGLDrawable GL3GADriver::m_drawable = nullptr;
HDC GL3GADriver::m_hdc = nullptr;
CWnd* GL3GADriver::m_dummywindow = nullptr;
int GL3GADriver::rowbytes = 0;
char* GL3GADriver::baseaddr = nullptr;
std::uint16_t GL3GADriver::bufwidth = 0;
std::uint16_t GL3GADriver::bufheight = 0;
int GL3GADriver::m_depthbits = 32;
int GL3GADriver::m_bestSelectedPixelFormat = 0;
int GL3GADriver::gl_max_texture_size = 0;
float GL3GADriver::gl_max_texture_max_anisotropy_ext = 0;
int GL3GADriver::gl_max_vertices = 0;
int GL3GADriver::m_azprocessor = 0;
bool GL3GADriver::m_useopenmp = false;

void GL3GADriver::SetDefaults() {
  m_dummywindow = nullptr;
  m_hdc = nullptr;
  m_context = nullptr;
}

int GL3GADriver::Terminate() {
  if (m_context) {
    aglDestroyContext(m_context);
    m_context = nullptr;
  }
  // The handle is kept: a device context of a window that is gone is recognised as dead.
  if (m_hdc) CheckinPort(m_hdc, 0);
  if (m_dummywindow) {
    m_dummywindow->DestroyWindow();
    delete m_dummywindow;
    m_dummywindow = nullptr;
  }
  return 1;
}

void GL3GADriver::MakeCurrent() {
  aglSetDrawable(m_context, m_drawable);
  aglSetCurrentContext(m_context);
  m_prevcontext = m_context;
  CGLEnable(CGLGetCurrentContext(), kCGLCEMPEngine);
}
