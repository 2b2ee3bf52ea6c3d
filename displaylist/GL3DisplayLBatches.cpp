// Drawing the batches.
#include "displaylist/GL3DisplayL.h"
#include "driver/GL3Driver.h"

namespace {

/// Draws a batch with the client arrays that its vertex format has, which the caller pointed to.
template <class V>
void DrawTriangles(const VertexBatch<V>& batch) {
  glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(batch.indices.Size()), GL_UNSIGNED_INT,
                 batch.indices.Data());
}

void FlushLit(VertexBatch<GAVertex>& batch, bool textured) {
  if (batch.vertices.IsEmpty()) return;
  const GAVertex& first = *batch.vertices.Data();
  glEnableClientState(GL_VERTEX_ARRAY);
  glEnableClientState(GL_NORMAL_ARRAY);
  if (textured) glEnableClientState(GL_TEXTURE_COORD_ARRAY);
  glVertexPointer(3, GL_FLOAT, sizeof(GAVertex), &first.x);
  glNormalPointer(GL_FLOAT, sizeof(GAVertex), &first.nx);
  if (textured) glTexCoordPointer(2, GL_FLOAT, sizeof(GAVertex), &first.u);
  DrawTriangles(batch);
  glDisableClientState(GL_VERTEX_ARRAY);
  glDisableClientState(GL_NORMAL_ARRAY);
  if (textured) glDisableClientState(GL_TEXTURE_COORD_ARRAY);
  batch.Clear();
}

void FlushColored(VertexBatch<GALitVertex>& batch) {
  if (batch.vertices.IsEmpty()) return;
  const GALitVertex& first = *batch.vertices.Data();
  glEnableClientState(GL_VERTEX_ARRAY);
  glEnableClientState(GL_COLOR_ARRAY);
  glVertexPointer(3, GL_FLOAT, sizeof(GALitVertex), &first.x);
  glColorPointer(4, GL_UNSIGNED_BYTE, sizeof(GALitVertex), &first.red);
  DrawTriangles(batch);
  glDisableClientState(GL_VERTEX_ARRAY);
  glDisableClientState(GL_COLOR_ARRAY);
  batch.Clear();
}

void FlushColoredTextured(VertexBatch<GALitVertexWT>& batch) {
  if (batch.vertices.IsEmpty()) return;
  const GALitVertexWT& first = *batch.vertices.Data();
  glEnableClientState(GL_VERTEX_ARRAY);
  glEnableClientState(GL_TEXTURE_COORD_ARRAY);
  glEnableClientState(GL_COLOR_ARRAY);
  glVertexPointer(3, GL_FLOAT, sizeof(GALitVertexWT), &first.x);
  glTexCoordPointer(2, GL_FLOAT, sizeof(GALitVertexWT), &first.u);
  glColorPointer(4, GL_UNSIGNED_BYTE, sizeof(GALitVertexWT), &first.red);
  DrawTriangles(batch);
  glDisableClientState(GL_VERTEX_ARRAY);
  glDisableClientState(GL_TEXTURE_COORD_ARRAY);
  glDisableClientState(GL_COLOR_ARRAY);
  batch.Clear();
}

}  // namespace

void GL3DisplayList::FlushLines() {
  if (m_lineVertexCount == 0) return;
  const GALitVertex& first = m_lineVertices.front();
  glEnableClientState(GL_VERTEX_ARRAY);
  glEnableClientState(GL_COLOR_ARRAY);
  glVertexPointer(3, GL_FLOAT, sizeof(GALitVertex), &first.x);
  glColorPointer(4, GL_UNSIGNED_BYTE, sizeof(GALitVertex), &first.red);
  glDrawElements(GL_LINES, static_cast<GLsizei>(m_lineIndices.size()), GL_UNSIGNED_INT,
                 m_lineIndices.data());
  glDisableClientState(GL_VERTEX_ARRAY);
  glDisableClientState(GL_COLOR_ARRAY);
  m_lineVertexCount = 0;
  m_lineVertices.clear();
  m_lineIndices.clear();
}

void GL3DisplayList::FlushArrays() {
  FlushLines();
  FlushLit(m_lit, false);
  FlushLit(m_litTextured, true);
  FlushColored(m_colored);
  FlushColoredTextured(m_coloredTextured);
  m_buffer->SetState(GL3GABuffer::kArraysPending, false);
}

/// Every triangle adder begins with this: notes that a batch holds undrawn data, and flushes first
/// when the batch that is appended to holds more `entries` than the setting allows. The flush
/// clears the note, and what is appended now is still to be drawn: so the note comes last.
void GL3DisplayList::StartAppending(std::size_t entries) {
  if (static_cast<unsigned>(GL3GADriver::gl_max_vertices) < entries) FlushArrays();
  m_buffer->SetState(GL3GABuffer::kArraysPending, true);
}
