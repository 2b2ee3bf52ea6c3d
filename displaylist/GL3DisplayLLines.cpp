// Lines and points. Plain segments are batched; shaded strips, indexed lists and points are drawn
// at once. Coordinates are in view space and go to the GL as they are.
#include "buffer/ClientArray.h"
#include "buffer/GL3Color.h"
#include "displaylist/GL3DisplayL.h"

namespace {

GALitVertex LineEnd(const Vector& p, const ColorBuf& color) {
  return {p.x, p.y, p.z, color.red, color.green, color.blue, color.alpha};
}

}  // namespace

/// Every segment has two vertices of its own: shared ends are not merged.
void GL3DisplayList::AppendSegment(const Vector& a, const ColorBuf& colorA, const Vector& b,
                                   const ColorBuf& colorB) {
  m_lineVertices.push_back(LineEnd(a, colorA));
  m_lineVertices.push_back(LineEnd(b, colorB));
  m_lineIndices.push_back(m_lineVertexCount);
  m_lineIndices.push_back(m_lineVertexCount + 1);
  m_lineVertexCount += 2;
}

void GL3DisplayList::AppendSegment(const Vector& a, const Vector& b, const GAColor& color) {
  m_buffer->SetState(GL3GABuffer::kArraysPending, true);
  const ColorBuf bytes = ColorBytes(color);
  AppendSegment(a, bytes, b, bytes);
}

void GL3DisplayList::AddTransformedLine(const Vector& a, const Vector& b) {
  AppendSegment(a, b, m_defaultColor);
}

void GL3DisplayList::AddTransformedLine(const Vector& a, const Vector& b, const GAColor& color) {
  AppendSegment(a, b, color);
}

void GL3DisplayList::AddTransformedLineRef(const Vector& a, const Vector& b) {
  AppendSegment(a, b, m_defaultColor);
}

void GL3DisplayList::AddTransformedLineRef(const Vector& a, const Vector& b, const GAColor& color) {
  AppendSegment(a, b, color);
}

void GL3DisplayList::AddTransformedLine(const Vector& a, const GAColor& colorA, const Vector& b,
                                        const GAColor& colorB) {
  m_buffer->SetState(GL3GABuffer::kArraysPending, true);
  AppendSegment(a, ColorBytes(colorA), b, ColorBytes(colorB));
}

void GL3DisplayList::AddTransformedLineList(Vector* points, int count) {
  m_buffer->SetState(GL3GABuffer::kArraysPending, true);
  const ColorBuf color = ColorBytes(m_defaultColor);
  for (int i = 1; i < count; ++i) AppendSegment(points[i - 1], color, points[i], color);
}

void GL3DisplayList::AddTransformedLineList(Vector* a, Vector* b, int count, GAColor& colorA,
                                            GAColor& colorB) {
  m_buffer->SetState(GL3GABuffer::kArraysPending, true);
  const ColorBuf bytesA = ColorBytes(colorA);
  const ColorBuf bytesB = ColorBytes(colorB);
  for (int i = 0; i < count; ++i) AppendSegment(a[i], bytesA, b[i], bytesB);
}

void GL3DisplayList::AddTransformedShadedLineList(GAShadedLineVertex* points, int count,
                                                  int smooth) {
  const bool switchSmoothing = smooth && !m_buffer->HasState(GL3GABuffer::kSmoothingOn);
  if (switchSmoothing) glEnable(GL_LINE_SMOOTH);
  // The first point's width is the strip's, also for a strip without points. Width and smoothing
  // are set before an open block is closed, and the GL refuses them then: the strip keeps what
  // there was.
  glLineWidth(2 * points[0].width);
  const int suspended = SuspendBlock();
  glBegin(GL_LINE_STRIP);
  for (int i = 0; i < count; ++i) {
    m_buffer->SetMaterial(&points[i].material, 0.0f);
    glNormal3fv(&points[i].normal.x);
    glVertex3fv(&points[i].position.x);
  }
  glEnd();
  ResumeBlock(suspended);
  glLineWidth(1.0f);
  if (switchSmoothing) glDisable(GL_LINE_SMOOTH);
}

void GL3DisplayList::AddIndexedLineList(std::vector<GALitVertex>& vertices,
                                        std::vector<unsigned int>& indices) {
  MakeCurrent();
  CloseBlock();
  FlushIfPending();
  DisableTexturing();
  DisableLighting();
  const GALitVertex* v = vertices.data();
  DrawIndexed(GL_LINES, indices.data(), indices.size(), PositionArray(v), ColorArray(v));
}

void GL3DisplayList::AddTransformedPoint(const Vector& position) {
  GL3DisplayList::AddTransformedPoint(position, m_defaultColor);
}

void GL3DisplayList::AddTransformedPoint(const Vector& position, const GAColor& color) {
  glColor4fv(ColorFloats(color));
  glVertex3fv(&position.x);
}
