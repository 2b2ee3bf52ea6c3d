// Client arrays: vertices in the caller's memory, which the GL reads as it draws.
#pragma once

#include <cstddef>
#include <type_traits>

#include "platform/agl.h"

/// One array of a draw: a member of vertices that lie `stride` bytes apart. Positions and normals
/// are three floats, texture coordinates two, colours four bytes. The memory is the caller's.
struct ClientArray {
  GLenum kind;        ///< As glEnableClientState takes it.
  const void* first;  ///< The first vertex's member; null when there are no vertices.
  GLsizei stride;
};

/// Arrays of the vertices at `v`, which may be null.
template <class V>
ClientArray PositionArray(const V* v) {
  return {GL_VERTEX_ARRAY, v ? &v->x : nullptr, sizeof(V)};
}
template <class V>
ClientArray NormalArray(const V* v) {
  return {GL_NORMAL_ARRAY, v ? &v->nx : nullptr, sizeof(V)};
}
template <class V>
ClientArray TexCoordArray(const V* v) {
  return {GL_TEXTURE_COORD_ARRAY, v ? &v->u : nullptr, sizeof(V)};
}
template <class V>
ClientArray ColorArray(const V* v) {
  return {GL_COLOR_ARRAY, v ? &v->red : nullptr, sizeof(V)};
}

/// Gives the GL one array's place. It must be enabled for a draw to read it.
inline void PointTo(const ClientArray& array) {
  switch (array.kind) {
    case GL_VERTEX_ARRAY:
      glVertexPointer(3, GL_FLOAT, array.stride, array.first);
      break;
    case GL_NORMAL_ARRAY:
      glNormalPointer(GL_FLOAT, array.stride, array.first);
      break;
    case GL_TEXTURE_COORD_ARRAY:
      glTexCoordPointer(2, GL_FLOAT, array.stride, array.first);
      break;
    default:
      glColorPointer(4, GL_UNSIGNED_BYTE, array.stride, array.first);
      break;
  }
}

/// Draws `count` indices, of 16 or 32 bits, with these arrays: enables all of them in their order,
/// points to them, draws, and disables them in the same order.
template <class Index, class... Arrays>
void DrawIndexed(GLenum primitive, const Index* indices, std::size_t count,
                 const Arrays&... arrays) {
  static_assert(std::is_same_v<Index, GLushort> || std::is_same_v<Index, GLuint>);
  (glEnableClientState(arrays.kind), ...);
  (PointTo(arrays), ...);
  glDrawElements(primitive, static_cast<GLsizei>(count),
                 sizeof(Index) == sizeof(GLushort) ? GL_UNSIGNED_SHORT : GL_UNSIGNED_INT, indices);
  (glDisableClientState(arrays.kind), ...);
}
