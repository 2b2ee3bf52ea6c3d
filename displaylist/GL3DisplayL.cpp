// State switches, open blocks and instruction lists of the display list.
#include "displaylist/GL3DisplayL.h"

#include "buffer/GL3Color.h"
#include "driver/GL3Driver.h"
#include "host/RenderInfo.h"
#include "texture/GL3Texture.h"

namespace {

constexpr std::size_t kReservedLineEntries = 100;

void EmitVertex(const Vector& position, const GAColor& color) {
  glColor4fv(ColorFloats(color));
  glVertex3fv(&position.x);
}

}  // namespace

GL3DisplayList::GL3DisplayList(RenderInfo* info)
    : DisplayList(info), m_buffer(static_cast<GL3GABuffer*>(info->buffer)) {
  if (!m_buffer) {
    m_ownBuffer = std::make_unique<GL3GABuffer>(info, GL3GABuffer::kOffScreen, 0);
    m_buffer = m_ownBuffer.get();
    if (!m_buffer) return;
  }
  m_context = m_buffer->Context();
  m_buffer->SetState(GL3GABuffer::kArraysPending, false);
  m_lineVertices.reserve(kReservedLineEntries);
  m_lineIndices.reserve(kReservedLineEntries);
}

GL3DisplayList::~GL3DisplayList() {
  if (m_buffer && m_context == m_buffer->Context()) {
    m_context = nullptr;
  } else if (m_context) {
    aglDestroyContext(m_context);
  }
}

void GL3DisplayList::MakeCurrent() {
  if (m_buffer->Context() != GL3GADriver::m_prevcontext) m_buffer->MakeCurrent(0);
}

void GL3DisplayList::OpenBlock(int primitive) {
  glBegin(static_cast<GLenum>(primitive));
  m_openPrimitive = primitive;
}

void GL3DisplayList::CloseBlock() {
  if (m_openPrimitive == kNoBlock) return;
  glEnd();
  m_openPrimitive = kNoBlock;
}

/// Closes the open block for a primitive of another kind. Returns what ResumeBlock reopens.
int GL3DisplayList::SuspendBlock() {
  const int primitive = m_openPrimitive;
  CloseBlock();
  return primitive;
}

void GL3DisplayList::ResumeBlock(int primitive) {
  if (primitive != kNoBlock) OpenBlock(primitive);
}

void GL3DisplayList::FlushIfPending() {
  if (m_buffer->HasState(GL3GABuffer::kArraysPending)) FlushArrays();
}

void GL3DisplayList::DisableTexturing() {
  if (!m_texturingOn) return;
  glDisable(GL_TEXTURE_2D);
  m_texturingOn = 0;
}

void GL3DisplayList::DisableLighting() {
  if (!m_buffer->HasState(GL3GABuffer::kLightingOn)) return;
  glDisable(GL_LIGHTING);
  m_buffer->SetState(GL3GABuffer::kLightingOn, false);
}

GL3GATexture* GL3DisplayList::CurrentTexture() const {
  return static_cast<GL3GATexture*>(m_currentTexture);
}

/// Whether what is drawn now may be seen through: by its picture or by its material.
bool GL3DisplayList::IsStateTransparent() const {
  const GL3GATexture* texture = CurrentTexture();
  if (texture && texture->HasTransparency()) return true;
  return m_currentMaterial && m_currentMaterial->transparency.Current() != 0;
}

void GL3DisplayList::OnSize() {
  MakeCurrent();
  m_buffer->OnSize();
}

void GL3DisplayList::SetDefaultColor(GAColor& color) {
  m_defaultColor = color;
  glColor4fv(ColorFloats(m_defaultColor));
}

void GL3DisplayList::SetTexture(GATexture* texture) {
  MakeCurrent();
  const auto* glTexture = static_cast<const GL3GATexture*>(texture);
  const GLuint name = glTexture ? glTexture->m_texture : 0;
  if (m_texturingOn || name) {
    FlushArrays();
    if (name) {
      if (!m_texturingOn) glEnable(GL_TEXTURE_2D);
      m_texturingOn = 1;
      glBindTexture(GL_TEXTURE_2D, name);
    } else {
      DisableTexturing();
    }
  }
  m_currentTexture = texture;
}

void GL3DisplayList::SetDepthFunc(int function) {
  MakeCurrent();
  CloseBlock();
  switch (function) {
    case kDepthTestOff:
      if (!m_buffer->HasState(GL3GABuffer::kDepthTestOn)) break;
      glDisable(GL_DEPTH_TEST);
      m_buffer->SetState(GL3GABuffer::kDepthTestOn, false);
      break;
    case kDepthTestOn:
      if (m_buffer->HasState(GL3GABuffer::kDepthTestOn)) break;
      glEnable(GL_DEPTH_TEST);
      m_buffer->SetState(GL3GABuffer::kDepthTestOn, true);
      break;
    case kAdditiveBlending:
      glBlendFunc(GL_SRC_ALPHA, GL_ONE);
      break;
    case kNormalBlending:
      glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
      break;
    case kLightingOn:
      glEnable(GL_LIGHTING);
      glEnable(GL_LIGHT0);
      m_buffer->SetState(GL3GABuffer::kLightingOn, true);
      break;
    case kLightingOff:
      glDisable(GL_LIGHTING);
      glDisable(GL_LIGHT0);
      m_buffer->SetState(GL3GABuffer::kLightingOn, false);
      break;
    default:
      break;
  }
}

void GL3DisplayList::SetProjection(int mode) {
  if (mode == m_projectionMode) return;
  m_projectionMode = mode;
  MakeCurrent();
  CloseBlock();
  m_buffer->UseProjectionMatrix();
  glLoadIdentity();
  glLoadMatrixf(m_buffer->ProjectionMatrix(mode));
  glViewport(0, 0, m_buffer->Width(), m_buffer->Height());
}

void GL3DisplayList::SetupLights(LightListNode* lights) {
  MakeCurrent();
  CloseBlock();
  FlushIfPending();
  m_buffer->SetupLights(lights);
  m_currentLights = lights;
}

void GL3DisplayList::SetMaterial(AttrProperty* material, float transparencyScale) {
  if (m_buffer->NeedsSetMaterial(material, transparencyScale)) {
    FlushIfPending();
    m_buffer->SetMaterial(0);
  }
  m_currentMaterial = material;
}

/// Enters a kind of drawing: current context, no open block. False when it was entered already.
bool GL3DisplayList::Prepare(PrepMode mode) {
  if (m_prepMode == mode) return false;
  m_prepMode = mode;
  MakeCurrent();
  CloseBlock();
  return true;
}

void GL3DisplayList::PrepareUnlit(PrepMode mode, int primitive) {
  if (!Prepare(mode)) return;
  DisableTexturing();
  DisableLighting();
  OpenBlock(primitive);
}

void GL3DisplayList::PrepForPoints() {
  PrepareUnlit(kPoints, GL_POINTS);
}

void GL3DisplayList::PrepForLines() {
  PrepareUnlit(kLines, GL_LINES);
}

void GL3DisplayList::PrepForPolygons() {
  if (!Prepare(kPolygons)) return;
  SetTexture(nullptr);
  OpenBlock(GL_TRIANGLES);
}

void GL3DisplayList::PrepForPolygonArray() {
  if (Prepare(kPolygonArray)) SetTexture(nullptr);
}

void GL3DisplayList::BeginInstructions() {
  MakeCurrent();
  m_currentTexture = nullptr;
}

void GL3DisplayList::EndInstructions() {
  CloseBlock();
  FlushIfPending();
  DisableLighting();
}

void GL3DisplayList::ExecuteInstructions() {
  MakeCurrent();
  CloseBlock();
  FlushIfPending();
}

void GL3DisplayList::Execute() {}
void GL3DisplayList::AddLine(int, int) {}
void GL3DisplayList::AddPoint(int) {}

void GL3DisplayList::FlushTransparentPolys() {
  m_buffer->RenderTransparentPolys();
}

int GL3DisplayList::AddOGLVertex(const Vector& position, const GAColor& color) {
  EmitVertex(position, color);
  return 0;
}

int GL3DisplayList::AddTransformedVertex(const Vector& position) {
  EmitVertex(position, m_defaultColor);
  return 0;
}

int GL3DisplayList::AddTransformedVertex(const Vector& position, const GAColor& color) {
  EmitVertex(position, color);
  return 0;
}

int GL3DisplayList::AddTransformedVertex(const Vector& position, const GAColor& color,
                                         const Vector2& uv) {
  glColor4fv(ColorFloats(color));
  glTexCoord2fv(&uv.x);
  glVertex3fv(&position.x);
  return 0;
}

int GL3DisplayList::TransformAndAddVertex(Vector p, const GAColor& color) {
  const float* m = m_renderInfo->objectToView;
  EmitVertex(
      {m[0] * p.x + m[1] * p.y + m[2] * p.z + m[3], m[4] * p.x + m[5] * p.y + m[6] * p.z + m[7],
       m[8] * p.x + m[9] * p.y + m[10] * p.z + m[11]},
      color);
  return 0;
}
