// Drawing the batches.
#include "buffer/ClientArray.h"
#include "displaylist/GL3DisplayL.h"
#include "driver/GL3Driver.h"

namespace {

template <class V, class... Arrays>
void DrawAndClear(VertexBatch<V>& batch, const Arrays&... arrays) {
  DrawIndexed(GL_TRIANGLES, batch.indices.Data(), batch.indices.Size(), arrays...);
  batch.Clear();
}

}  // namespace

void GL3DisplayList::FlushLines() {
  if (m_lineVertexCount == 0) return;
  const GALitVertex* v = m_lineVertices.data();
  DrawIndexed(GL_LINES, m_lineIndices.data(), m_lineIndices.size(), PositionArray(v),
              ColorArray(v));
  m_lineVertexCount = 0;
  m_lineVertices.clear();
  m_lineIndices.clear();
}

void GL3DisplayList::FlushArrays() {
  FlushLines();
  if (const GAVertex* v = m_lit.vertices.First()) {
    DrawAndClear(m_lit, PositionArray(v), NormalArray(v));
  }
  if (const GAVertex* v = m_litTextured.vertices.First()) {
    DrawAndClear(m_litTextured, PositionArray(v), NormalArray(v), TexCoordArray(v));
  }
  if (const GALitVertex* v = m_colored.vertices.First()) {
    DrawAndClear(m_colored, PositionArray(v), ColorArray(v));
  }
  if (const GALitVertexWT* v = m_coloredTextured.vertices.First()) {
    DrawAndClear(m_coloredTextured, PositionArray(v), TexCoordArray(v), ColorArray(v));
  }
  m_buffer->SetState(GL3GABuffer::kArraysPending, false);
}

/// Every adder of triangles but AddCP begins with this: notes that a batch holds undrawn data, and
/// flushes first when the batch that is appended to holds more `entries` than the setting allows.
/// The flush clears the note, and what is appended now is still to be drawn: so the note comes
/// last.
void GL3DisplayList::StartAppending(std::size_t entries) {
  if (static_cast<unsigned>(GL3GADriver::gl_max_vertices) < entries) FlushArrays();
  m_buffer->SetState(GL3GABuffer::kArraysPending, true);
}
