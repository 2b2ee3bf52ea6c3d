// Surface, context and scene lifecycle of the frame buffer.
#include "buffer/GL3Buffer.h"

#include "driver/GL3Driver.h"
#include "host/Heaps.h"

namespace {

// The host's font, whose glyphs become display lists.
constexpr GLint kGlyphCount = 256;
constexpr GLint kFontFamily = 3;
constexpr GLint kFontSize = 10;

AGLPixelFormat ChoosePixelFormat(const GLint* attributes) {
  const AGLPixelFormat format = aglChoosePixelFormat(nullptr, 0, attributes);
  if (!format) aglGetError();
  return format;
}

HDC DeviceContextFor(const RenderInfo* info, int compatibleDC) {
  if (compatibleDC) return CreateCompatibleDC(nullptr);
  const CWnd* view = info ? info->viewWindow : nullptr;
  if (view && view->m_hWnd) return GetDC(view->m_hWnd);
  const CWnd* dummy = GL3GADriver::m_dummywindow;
  return GetDC(dummy ? dummy->m_hWnd : nullptr);
}

/// The view of buffers that were made without one: that of a new record, without pixels.
RenderInfo* NoView() {
  static RenderInfo view;
  return &view;
}

/// The client area of a window on the screen.
RECT ClientRectOnScreen(const CWnd& window) {
  RECT rect;
  window.GetClientRect(&rect);
  window.ClientToScreen(&rect);
  return rect;
}

void Toggle(GLenum capability, bool on) {
  on ? glEnable(capability) : glDisable(capability);
}

void WaitForRetrace(AGLContext context) {
  const GLint interval = 1;
  aglEnable(context, AGL_BUFFER_RECT);
  aglSetInteger(context, AGL_SWAP_INTERVAL, &interval);
}

}  // namespace

GL3GABuffer::GL3GABuffer(RenderInfo* info, int mode, int compatibleDC)
    : m_renderInfo(info ? info : NoView()), m_mode(mode) {
  m_dc = DeviceContextFor(info, compatibleDC);
  m_port = CheckoutPort(m_dc, 1);
}

GL3GABuffer::~GL3GABuffer() {
  GL3GABuffer::Destroy();
  if (m_dc) DeleteDC(m_dc);
}

void GL3GABuffer::MakeCurrent(int) {
  if (m_pbuffer) {
    aglSetPBuffer(m_context, m_pbuffer, 0, 0, aglGetVirtualScreen(m_context));
  } else {
    aglSetDrawable(m_context, m_port);
  }
  aglSetCurrentContext(m_context);
  GL3GADriver::m_prevcontext = m_context;
}

int GL3GABuffer::Reallocate(int width, int height, int options) {
  m_width = static_cast<std::int16_t>(width);
  m_height = static_cast<std::int16_t>(height);
  SetState(kDepthWanted, (options & 1) != 0);
  SetState(kFogOn, false);
  const int depthBits = HasState(kDepthWanted) ? GL3GADriver::m_depthbits : 0;

  if (m_mode == kOffScreen && AllocatePbuffer(width, height, depthBits)) return 1;
  if (m_mode == kKeepContext && m_context) {
    MakeCurrent(0);
    OnSize();
    return 1;
  }
  return AllocateDrawable(width, height, depthBits);
}

bool GL3GABuffer::AllocatePbuffer(int width, int height, int depthBits) {
  Destroy();
  const GLint attributes[] = {AGL_RGBA, AGL_DEPTH_SIZE, depthBits, AGL_NONE};
  m_pixelFormat = aglChoosePixelFormat(nullptr, 0, attributes);
  if (m_pixelFormat) m_context = aglCreateContext(m_pixelFormat, GL3GADriver::m_context);
  if (!m_context) return false;
  if (!aglCreatePBuffer(width, height, GL_TEXTURE_RECTANGLE_EXT, GL_RGBA, 0, &m_pbuffer)) {
    return false;
  }
  m_port = nullptr;
  // The pbuffer stands where a port is expected; the layer answers that it has no pixel map.
  m_pixmap = GetPortPixMap(reinterpret_cast<CGrafPtr>(m_pbuffer));
  LockPixels(m_pixmap);
  SetRenderState();
  EnterModelView(width, height);
  return true;
}

int GL3GABuffer::AllocateDrawable(int width, int height, int depthBits) {
  Destroy();
  static GLint offScreenAttributes[] = {AGL_DEPTH_SIZE, 0,  AGL_OFFSCREEN, AGL_RGBA,
                                        AGL_PIXEL_SIZE, 32, AGL_NONE};
  static GLint windowAttributes[] = {AGL_DEPTH_SIZE,  0,       AGL_DOUBLEBUFFER, AGL_RGBA,
                                     AGL_ACCELERATED, AGL_NONE};
  GLint* attributes = m_mode == kOffScreen ? offScreenAttributes : windowAttributes;
  attributes[1] = depthBits;
  m_pixelFormat = ChoosePixelFormat(attributes);
  m_context = aglCreateContext(m_pixelFormat, GL3GADriver::m_context);
  if (!m_context) aglGetError();

  if (m_mode == kOffScreen) {
    SetState(kOwnsWindow, true);
    // Destroy leaves no port, so there is no off-screen surface beside the pbuffer.
    if (!m_port) return 0;
    m_pixmap = GetPortPixMap(m_port);
    LockPixels(m_pixmap);
    m_dc = WrapPort(m_port);
  } else {
    m_port = CheckoutPort(m_dc, 1);
    WaitForRetrace(m_context);
  }
  MakeCurrent(0);
  aglUseFont(m_context, kFontFamily, 0, kFontSize, 0, kGlyphCount, kGlyphLists);
  SetRenderState();
  EnterModelView(width, height);
  return 1;
}

void GL3GABuffer::EnterModelView(int width, int height) {
  glMatrixMode(GL_MODELVIEW);
  m_matrixMode = kModelView;
  glLoadIdentity();
  glViewport(0, 0, width, height);
}

int GL3GABuffer::AllocateforShader(int width, int height) {
  m_width = static_cast<std::int16_t>(width);
  m_height = static_cast<std::int16_t>(height);
  SetState(kFogOn, false);
  SetState(kDepthWanted, true);
  static GLint attributes[] = {AGL_DEPTH_SIZE, 0, AGL_DOUBLEBUFFER, AGL_RGBA, AGL_NONE};
  attributes[1] = GL3GADriver::m_depthbits;
  m_pixelFormat = aglChoosePixelFormat(nullptr, 0, attributes);
  GLint unread = 0;  // the answers are asked for, and nothing reads them
  aglDescribePixelFormat(m_pixelFormat, AGL_DEPTH_SIZE, &unread);
  aglDescribePixelFormat(m_pixelFormat, AGL_BUFFER_SIZE, &unread);
  m_context = aglCreateContext(m_pixelFormat, GL3GADriver::m_context);
  m_port = CheckoutPort(m_dc, 1);
  WaitForRetrace(m_context);
  MakeCurrent(0);
  aglUseFont(m_context, kFontFamily, 0, kFontSize, 0, kGlyphCount, kGlyphLists);
  glViewport(0, 0, width, height);
  glMatrixMode(GL_TEXTURE);
  glLoadIdentity();
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  m_matrixMode = kProjection;
  return 1;
}

void GL3GABuffer::OnSize() {
  const CWnd* view = m_renderInfo->viewWindow;
  if (view) {
    const CWnd* parent = view->GetParentFrame();
    const RECT viewRect = ClientRectOnScreen(*view);
    const RECT frameRect = parent ? ClientRectOnScreen(*parent) : viewRect;
    // The rectangle's origin is the frame's lower left corner.
    const GLint rect[] = {viewRect.left - frameRect.left, frameRect.bottom - viewRect.bottom,
                          viewRect.right - viewRect.left, viewRect.bottom - viewRect.top};
    aglSetInteger(m_context, AGL_BUFFER_RECT, rect);
  }
  aglUpdateContext(m_context);
  glViewport(0, 0, m_width, m_height);
}

int GL3GABuffer::SetRenderState() {
  MakeCurrent(0);
  SetRenderStateNoMakeCurrent();
  return 1;
}

int GL3GABuffer::SetRenderStateNoMakeCurrent() {
  const GL3GADriver* driver = CurrentDriver();
  const bool antialias = driver && driver->HasOption(GL3GADriver::kAntialias);
  const bool wireframe = driver && driver->IsWireframe();
  const GLfloat white[] = {1, 1, 1, 1};

  glDisable(GL_LIGHTING);
  SetState(kLightingOn, false);
  glLightModeli(GL_LIGHT_MODEL_COLOR_CONTROL, GL_SEPARATE_SPECULAR_COLOR);
  glLightModelfv(GL_LIGHT_MODEL_AMBIENT, white);
  glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, 1);
  glFrontFace(GL_CW);
  glCullFace(GL_FRONT);
  glDisable(GL_CULL_FACE);
  Toggle(GL_DEPTH_TEST, HasState(kDepthWanted));
  SetState(kDepthTestOn, HasState(kDepthWanted));
  glDisable(GL_TEXTURE_1D);
  glDisable(GL_TEXTURE_2D);
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
  glDepthFunc(GL_LEQUAL);
  glEnable(GL_POLYGON_OFFSET_FILL);
  glPolygonOffset(0.5f, 1.0f);
  glEnable(GL_BLEND);
  glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
  glAlphaFunc(GL_GREATER, 0);
  glEnable(GL_ALPHA_TEST);
  glPolygonMode(GL_FRONT_AND_BACK, wireframe ? GL_LINE : GL_FILL);
  Toggle(GL_POINT_SMOOTH, antialias);
  Toggle(GL_LINE_SMOOTH, antialias);
  if (antialias) {
    glHint(GL_POLYGON_SMOOTH_HINT, GL_NICEST);
    glHint(GL_POINT_SMOOTH_HINT, GL_NICEST);
    glHint(GL_LINE_SMOOTH_HINT, GL_NICEST);
  }
  SetState(kSmoothingOn, antialias);
  OnSize();
  return 1;
}

int GL3GABuffer::SetBackground(const GAColor& color) {
  const GANativeColor* native = color.Native();
  m_backgroundRed = native ? native->Red() / 255.0f : 0.0f;
  m_backgroundGreen = native ? native->Green() / 255.0f : 0.0f;
  m_backgroundBlue = native ? native->Blue() / 255.0f : 0.0f;
  return 1;
}

int GL3GABuffer::Clear() {
  MakeCurrent(0);
  glClearColor(m_backgroundRed, m_backgroundGreen, m_backgroundBlue, 1.0f);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  return 1;
}

int GL3GABuffer::CopyObjects(GABuffer*, int) {
  return 1;  // nothing to copy: all buffers share their objects
}

void GL3GABuffer::BeginScene() {}

void GL3GABuffer::EndScene() {
  if (m_transparentCount > 0) RenderTransparentPolys();
}

int GL3GABuffer::Destroy() {
  // The pbuffer goes with its context; its handle and the window flag keep their values.
  if (m_context) {
    aglDestroyContext(m_context);
    m_context = nullptr;
    GL3GADriver::m_prevcontext = nullptr;
  }
  if (HasState(kOwnsWindow)) {
    UnlockPixels(m_pixmap);
    DisposeWindow(m_port);
    m_port = nullptr;
    m_pixmap = nullptr;
    if (m_dc) {
      UnwrapPort(m_dc);
      m_dc = nullptr;
    }
  } else if (m_port) {
    m_port = nullptr;
    CheckinPort(m_dc, 32768);
  }
  if (m_blitMemory) {
    FreeExt(m_blitMemory);
    m_blitMemory = nullptr;
  }
  if (m_transparentPolys) FreeTransparentQueue();
  return 1;
}
