// Lit triangles, quads and the polylines that share the quad's entry.
#include <algorithm>

#include "buffer/GL3Color.h"
#include "displaylist/GL3DisplayL.h"

void GL3DisplayList::AddTransformedTri(GAVertex* v, int checkTransparency) {
  // The third element of the record belongs to another triangle and is never read.
  const GAVertex& a = v[0];
  const GAVertex& b = v[1];
  const GAVertex& c = v[3];
  if (checkTransparency && IsStateTransparent() && m_buffer->MakeRoomForTransparentPolys(1) &&
      QueueTriangle(a, b, c)) {
    return;
  }
  VertexBatch<GAVertex>& batch = m_litTextured;  // whether or not there is a texture
  StartAppending(batch.vertices.Size());
  const auto base = static_cast<std::uint32_t>(batch.vertices.Size());
  batch.vertices.Append(a, b, c);
  batch.AddTriangle(base);
}

void GL3DisplayList::AppendQuad(const GAVertex* v, bool textured) {
  VertexBatch<GAVertex>& batch = textured ? m_litTextured : m_lit;
  StartAppending(batch.vertices.Size());
  const auto base = static_cast<std::uint32_t>(batch.vertices.Size());
  batch.vertices.Append(v[0], v[1], v[3], v[2]);
  batch.AddQuad(base);
}

void GL3DisplayList::AddTransformedQuad(GAVertex* v, int mode, int textured) {
  if (mode & kQuadPolyline) {
    const int count = mode & kQuadCountMask;
    // The answer only chooses the form of the line: nothing is queued.
    const bool fading = (mode & kQuadFading) && m_buffer->MakeRoomForTransparentPolys(count - 1);
    fading ? DrawFadingPolyline(v, count) : DrawPolyline(v, count);
    return;
  }
  if (mode == kQuadBatched || mode == kQuadDefaultColor || !IsStateTransparent()) {
    if (mode == kQuadDefaultColor) glColor4fv(ColorFloats(m_defaultColor));
    AppendQuad(v, textured != 0);
    return;
  }
  QueueQuad(v);
}

/// Queues a quad along the other diagonal than the batched form has. A full queue is drawn first;
/// a quad that has no room even then is dropped.
void GL3DisplayList::QueueQuad(const GAVertex* v) {
  if (!m_buffer->MakeRoomForTransparentPolys(2)) {
    m_buffer->RenderTransparentPolys();
    if (!m_buffer->MakeRoomForTransparentPolys(2)) return;
  }
  QueueTriangle(v[0], v[1], v[2]);
  QueueTriangle(v[1], v[3], v[2]);
}

/// The width is set before an open block is closed; the GL refuses it then, and the width stays.
void GL3DisplayList::DrawPolyline(GAVertex* v, int count) {
  glLineWidth(v[0].v);
  const int suspended = SuspendBlock();
  glBegin(GL_LINE_STRIP);
  for (int i = 0; i < count; ++i) {
    glNormal3fv(&v[i].nx);
    glVertex3fv(&v[i].x);
  }
  glEnd();
  ResumeBlock(suspended);
  glLineWidth(1.0f);
}

/// A polyline whose vertices fade by their u, over everything that is there. With a block open the
/// GL refuses what stands before its closing: width, smoothing and depth test then stay, and the
/// colour that fades is the one that the buffer sent last.
void GL3DisplayList::DrawFadingPolyline(GAVertex* v, int count) {
  const bool smoothing = m_buffer->HasState(GL3GABuffer::kSmoothingOn);
  const bool depthTest = m_buffer->HasState(GL3GABuffer::kDepthTestOn);
  GLfloat diffuse[4];
  std::copy_n(m_buffer->DiffuseMaterial(), 4, diffuse);
  glGetMaterialfv(GL_FRONT, GL_DIFFUSE, diffuse);
  const GLfloat alpha = diffuse[3];
  if (!smoothing) glEnable(GL_LINE_SMOOTH);
  if (depthTest) glDisable(GL_DEPTH_TEST);
  glLineWidth(v[0].v);
  const int suspended = SuspendBlock();
  glBegin(GL_LINE_STRIP);
  for (int i = 0; i < count; ++i) {
    glNormal3fv(&v[i].nx);
    diffuse[3] = (1 - v[i].u) * alpha;
    m_buffer->SetDiffuseMaterial(diffuse);
    glVertex3fv(&v[i].x);
  }
  glEnd();
  ResumeBlock(suspended);
  if (depthTest) glEnable(GL_DEPTH_TEST);
  if (!smoothing) glDisable(GL_LINE_SMOOTH);
  diffuse[3] = alpha;
  m_buffer->SetDiffuseMaterial(diffuse);
  glLineWidth(1.0f);
}

void GL3DisplayList::AddTransformedQuad(GAVertex* v, RGBFloat* colors, int textured) {
  const int suspended = SuspendBlock();
  glBegin(GL_TRIANGLE_STRIP);
  for (int i = 0; i < 4; ++i) {
    // The record's third, second and first component, in this order.
    float diffuse[4] = {colors[i].red, colors[i].green, colors[i].blue, 1.0f};
    m_buffer->SetDiffuseMaterial(diffuse);
    if (textured) glTexCoord2fv(&v[i].u);
    glNormal3fv(&v[i].nx);
    glVertex3fv(&v[i].x);
  }
  glEnd();
  ResumeBlock(suspended);
}

void GL3DisplayList::AddTransformedQuad(GALitVertex* v) {
  GAColor color;
  const int suspended = SuspendBlock();
  glBegin(GL_TRIANGLE_STRIP);
  for (int i = 0; i < 4; ++i) {
    // Blue comes first in the records of this call, unlike in the batched ones.
    color.Set(v[i].blue, v[i].green, v[i].red, v[i].alpha);
    glColor4fv(ColorFloats(color));
    glVertex3fv(&v[i].x);
  }
  glEnd();
  ResumeBlock(suspended);
}
