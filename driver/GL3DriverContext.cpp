// Setting up the GL: the hidden window, the driver's context, and the check of what the GL can do.
#include <cstdio>

#include "driver/GL3Driver.h"
#include "driver/ProbeContext.h"
#include "host/String.h"
#include "platform/coregraphics.h"

namespace {

const CGDirectDisplayID display = CGMainDisplayID();
const CGOpenGLDisplayMask myDisplayMask = CGDisplayIDToOpenGLDisplayMask(display);

/// Tells the user why there is no renderer. Returns 0, the result of a failed initialisation.
int Refuse(const String& reason) {
  const String text = String("OpenGL3 Initialization Failed: ") + reason;
  AfxMessageBox(text.Text(), 0, 0);
  return 0;
}

const char* VersionText() {
  const auto* text = reinterpret_cast<const char*>(glGetString(GL_VERSION));
  return text ? text : "";
}

/// Major times 10 plus minor, as the text has them: 2.10 gives 30.
int ParseVersion(const char* text) {
  int major = 0;
  int minor = 0;
  std::sscanf(text, "%d.%d", &major, &minor);
  return major * 10 + minor;
}

}  // namespace

int GL3GADriver::Initialize() {
  m_capabilities &= ~kGpuShaders;
  return InitializeGL3(16);
}

int GL3GADriver::InitializeGL3(int) {
  Terminate();
  m_operational = false;
  if (!CreateDummyWindow()) return Refuse("Creating Window");
  CreateDriverContext();
  ReadPortGeometry();
  m_capabilities &= ~kGL20;
  return ProbeGL();
}

bool GL3GADriver::CreateDummyWindow() {
  m_dummywindow = new CWnd;
  const char* windowClass = AfxRegisterWndClass(CS_OWNDC, nullptr, nullptr, nullptr);
  m_dummywindow->CreateEx(0, windowClass, "DummyOpenGL3", WS_POPUP, 0, 0, 2, 2, nullptr, nullptr,
                          nullptr);
  m_hdc = GetDC(m_dummywindow->m_hWnd);
  if (!m_hdc) {
    const CDC* dc = CDC::FromHandle(GetDC(m_dummywindow->m_hWnd));
    if (dc) m_hdc = dc->m_hDC;
  }
  return m_hdc != nullptr;
}

void GL3GADriver::CreateDriverContext() {
  // Filled on the first call alone: the depth wish of a process never changes for this context.
  static const GLint attributes[] = {AGL_DEPTH_SIZE, m_depthbits,     AGL_DOUBLEBUFFER,
                                     AGL_RGBA,       AGL_ACCELERATED, AGL_NONE};
  m_context = aglCreateContext(aglChoosePixelFormat(nullptr, 0, attributes), nullptr);
}

void GL3GADriver::ReadPortGeometry() {
  m_drawable = CheckoutPort(m_hdc, 0);
  const PixMapHandle map = GetGWorldPixMap(m_drawable);
  // Without pixels nothing may be left that describes those of an earlier window.
  const Rect bounds = map ? (*map)->bounds : Rect{0, 0, 0, 0};
  rowbytes = map ? (*map)->rowBytes & 0x7FFF : 0;
  baseaddr = map ? GetPixBaseAddr(map) : nullptr;
  bufwidth = static_cast<std::uint16_t>(bounds.right - bounds.left);
  bufheight = static_cast<std::uint16_t>(bounds.bottom - bounds.top);
}

int GL3GADriver::ProbeGL() {
  const auto mask = static_cast<CGLPixelFormatAttribute>(myDisplayMask);
  const CGLPixelFormatAttribute wanted[] = {
      kCGLPFADisplayMask,  mask, kCGLPFAColorSize, 24, kCGLPFAAlphaSize, 8, kCGLPFAAccelerated,
      kCGLPFADoubleBuffer, 0};
  const CGLPixelFormatAttribute fallback[] = {kCGLPFADisplayMask, mask, 0};
  ProbeContext probe;
  if (!probe.Open({wanted, fallback})) return Refuse("No matching pixelformat found");
  if (InitializeGlew() != 0) return Refuse("glewInit");

  const char* version = VersionText();
  m_glVersion = ParseVersion(version);
  if (m_glVersion >= 20) m_capabilities |= kGL20;
  if (m_glVersion <= 20) return Refuse(String("OpenGL Version ") + version + " !\n");
  m_capabilities |= kGpuShaders;
  return ReadLimits();
}

int GL3GADriver::ReadLimits() {
  if (!GLEW_ARB_texture_non_power_of_two) {
    return Refuse("GL_ARB_texture_non_power_of_two not supported!\n");
  }
  if (!GLEW_ARB_depth_texture) return Refuse("GL_ARB_depth_texture not supported!\n");
  if (!GLEW_EXT_framebuffer_object) return Refuse("GL_EXT_framebuffer_object not supported!\n");

  glGetIntegerv(GL_MAX_TEXTURE_SIZE, &gl_max_texture_size);
  if (GLEW_EXT_texture_filter_anisotropic) {
    glGetFloatv(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, &gl_max_texture_max_anisotropy_ext);
    SetOption(kAnisotropicAvailable, true);
  } else {
    SetOption(kAnisotropicWanted, false);
  }
  m_operational = true;
  return 1;
}
