// Setting up the GL: the hidden window, the driver's context, and the check of what the GL can do.
#include <cstdio>

#include "driver/GL3Driver.h"
#include "driver/ProbeContext.h"
#include "host/String.h"

namespace {

/// Tells the user why there is no renderer. Returns 0, the result of a failed initialisation.
int Refuse(const String& reason) {
  const String text = String("OpenGL3 Initialization Failed: ") + reason;
  AfxMessageBox(text.Text(), 0, 0);
  return 0;
}

/// Major times 10 plus minor, as the text has them: 2.10 gives 30.
int ParseVersion(const char* text) {
  int major = 0;
  int minor = 0;
  std::sscanf(text, "%d.%d", &major, &minor);
  return major * 10 + minor;
}

/// The first of the extensions that the renderer needs and the GL lacks; null when it has all.
const char* MissingExtension() {
  const struct {
    const char* name;
    bool present;
  } needed[] = {
      {"GL_ARB_texture_non_power_of_two", GLEW_ARB_texture_non_power_of_two != 0},
      {"GL_ARB_depth_texture", GLEW_ARB_depth_texture != 0},
      {"GL_EXT_framebuffer_object", GLEW_EXT_framebuffer_object != 0},
  };
  for (const auto& extension : needed) {
    if (!extension.present) return extension.name;
  }
  return nullptr;
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
  return CheckGL();
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
  // Filled on the first call alone: a later change of m_depthbits does not reach it.
  static const GLint attributes[] = {AGL_DEPTH_SIZE, m_depthbits,     AGL_DOUBLEBUFFER,
                                     AGL_RGBA,       AGL_ACCELERATED, AGL_NONE};
  m_context = aglCreateContext(aglChoosePixelFormat(nullptr, 0, attributes), nullptr);
}

void GL3GADriver::ReadPortGeometry() {
  m_drawable = CheckoutPort(m_hdc, 0);
  const PixMapHandle map = GetGWorldPixMap(m_drawable);
  // Without pixels nothing is left that describes those of an earlier window.
  const Rect bounds = map ? (*map)->bounds : Rect{0, 0, 0, 0};
  rowbytes = map ? (*map)->rowBytes & 0x7FFF : 0;
  baseaddr = map ? GetPixBaseAddr(map) : nullptr;
  bufwidth = static_cast<std::uint16_t>(bounds.right - bounds.left);
  bufheight = static_cast<std::uint16_t>(bounds.bottom - bounds.top);
}

int GL3GADriver::CheckGL() {
  ProbeContext probe;
  if (probe.Open(ProbeContext::Samples::kOne) == ProbeContext::Result::kNoFormat) {
    return Refuse("No matching pixelformat found");
  }
  if (InitializeGlew() != 0) return Refuse("glewInit");

  const char* version = GLText(GL_VERSION);
  m_glVersion = ParseVersion(version);
  if (m_glVersion >= 20) m_capabilities |= kGL20;
  if (m_glVersion <= 20) return Refuse(String("OpenGL Version ") + version + " !\n");
  m_capabilities |= kGpuShaders;
  if (const char* missing = MissingExtension()) {
    return Refuse(String(missing) + " not supported!\n");
  }
  ReadTextureLimits();
  m_operational = true;
  return 1;
}

void GL3GADriver::ReadTextureLimits() {
  glGetIntegerv(GL_MAX_TEXTURE_SIZE, &gl_max_texture_size);
  if (GLEW_EXT_texture_filter_anisotropic) {
    glGetFloatv(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, &gl_max_texture_max_anisotropy_ext);
    SetOption(kAnisotropicAvailable, true);
  } else {
    SetOption(kAnisotropicWanted, false);
  }
}
