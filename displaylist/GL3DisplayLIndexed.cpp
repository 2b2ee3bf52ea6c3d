// Indexed fans and triangle lists, drawn at once from the host's own arrays.
#include <algorithm>
#include <vector>

#include "buffer/ClientArray.h"
#include "displaylist/GL3DisplayL.h"

namespace {

// Fans with fewer indices than this are drawn from client arrays, longer ones vertex by vertex.
constexpr unsigned long kLongFan = 100;

void DrawShortFan(const GAVertex* v, const unsigned short* indices, unsigned long count) {
  unsigned short copy[kLongFan];
  std::copy_n(indices, count, copy);
  DrawIndexed(GL_TRIANGLE_FAN, copy, count, PositionArray(v), NormalArray(v), TexCoordArray(v));
}

void EnableAndPointTo(const ClientArray& array) {
  glEnableClientState(array.kind);
  PointTo(array);
}

void DrawTriangles(const unsigned short* indices, unsigned long count) {
  glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(count), GL_UNSIGNED_SHORT, indices);
}

}  // namespace

void GL3DisplayList::AddIndexedTriangleFan(GAVertex* v, unsigned long, unsigned short* indices,
                                           unsigned long count, int checkTransparency) {
  const int triangles = static_cast<int>(count) - 2;
  if (!checkTransparency || !IsStateTransparent() ||
      !m_buffer->MakeRoomForTransparentPolys(triangles)) {
    DrawFan(v, indices, count);
    return;
  }
  for (unsigned long i = 2; i < count; ++i) {
    if (QueueTriangle(v[indices[0]], v[indices[i - 1]], v[indices[i]])) continue;
    // A new queue promises room for any count. What it cannot hold is a fan of its own.
    std::vector<unsigned short> rest(indices + i - 1, indices + count);
    rest.insert(rest.begin(), indices[0]);
    DrawFan(v, rest.data(), rest.size());
    return;
  }
}

void GL3DisplayList::DrawFan(const GAVertex* v, const unsigned short* indices,
                             unsigned long count) {
  if (count < kLongFan) {
    DrawShortFan(v, indices, count);
    return;
  }
  const int suspended = SuspendBlock();
  glBegin(GL_TRIANGLE_FAN);
  for (unsigned long i = 0; i < count; ++i) {
    const GAVertex& vertex = v[indices[i]];
    glTexCoord2fv(&vertex.u);
    glNormal3fv(&vertex.nx);
    glVertex3fv(&vertex.x);
  }
  glEnd();
  ResumeBlock(suspended);
}

/// What both coloured lists begin with: no open block, the texture bound afresh, no lighting. They
/// then enable and point to one array after the other, unlike DrawIndexed.
void GL3DisplayList::PrepareColoredList() {
  MakeCurrent();
  CloseBlock();
  SetTexture(m_currentTexture);
  DisableLighting();
}

void GL3DisplayList::AddIndexedLitTriangleList(GALitVertex* v, unsigned long,
                                               unsigned short* indices, unsigned long count, int) {
  PrepareColoredList();
  EnableAndPointTo(PositionArray(v));
  EnableAndPointTo(ColorArray(v));
  DrawTriangles(indices, count);
  glDisableClientState(GL_VERTEX_ARRAY);
  glDisableClientState(GL_COLOR_ARRAY);
}

void GL3DisplayList::AddIndexedLitTriangleListWT(GALitVertexWT* v, unsigned long,
                                                 unsigned short* indices, unsigned long count,
                                                 int) {
  PrepareColoredList();
  EnableAndPointTo(PositionArray(v));
  glEnableClientState(GL_TEXTURE_COORD_ARRAY);
  // The texture coordinates take the place of the positions. The texture pointer is wherever an
  // earlier draw left it, in memory that may be gone; with texturing on the GL would read there, so
  // that it is set then.
  glVertexPointer(2, GL_FLOAT, sizeof(GALitVertexWT), &v->u);
  if (m_texturingOn) PointTo(TexCoordArray(v));
  EnableAndPointTo(ColorArray(v));
  DrawTriangles(indices, count);
  glDisableClientState(GL_VERTEX_ARRAY);
  glDisableClientState(GL_COLOR_ARRAY);
  glDisableClientState(GL_TEXTURE_COORD_ARRAY);
}
