// A bare OpenGL surface for floors.
#include "bench/support/bare_surface.h"

#include <stdexcept>
#include <utility>

namespace bench {
namespace {

void SetFixedState() {
  const GLfloat white[] = {1, 1, 1, 1};
  glLightModeli(GL_LIGHT_MODEL_COLOR_CONTROL, GL_SEPARATE_SPECULAR_COLOR);
  glLightModelfv(GL_LIGHT_MODEL_AMBIENT, white);
  glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, 1);
  glFrontFace(GL_CW);
  glCullFace(GL_FRONT);
  glEnable(GL_DEPTH_TEST);
  glDepthFunc(GL_LEQUAL);
  glEnable(GL_POLYGON_OFFSET_FILL);
  glPolygonOffset(0.5f, 1.0f);
  glEnable(GL_BLEND);
  glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
  glAlphaFunc(GL_GREATER, 0);
  glEnable(GL_ALPHA_TEST);

  const GLfloat toViewer[] = {0, 0, 1, 0};
  glLightfv(GL_LIGHT0, GL_POSITION, toViewer);
  glLightfv(GL_LIGHT0, GL_DIFFUSE, white);
  glLightfv(GL_LIGHT0, GL_SPECULAR, white);
  glEnable(GL_LIGHT0);
  glEnable(GL_LIGHTING);
}

}  // namespace

void SetBareState(int width, int height) {
  SetFixedState();
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(-width / 2.0, width / 2.0, -height / 2.0, height / 2.0, 1, 1000);
  glMatrixMode(GL_MODELVIEW);
  glViewport(0, 0, width, height);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
}

BareSurface::BareSurface(int width, int height)
    : m_width(width), m_height(height), m_row(static_cast<std::size_t>(width) * 3) {
  const GLint attributes[] = {AGL_RGBA, AGL_DEPTH_SIZE, 32, AGL_NONE};
  m_context = aglCreateContext(aglChoosePixelFormat(nullptr, 0, attributes), nullptr);
  if (!m_context ||
      !aglCreatePBuffer(width, height, GL_TEXTURE_RECTANGLE_EXT, GL_RGBA, 0, &m_pbuffer)) {
    if (m_context) aglDestroyContext(m_context);
    throw std::runtime_error("no bare surface can be made");
  }
  MakeCurrent();
  SetBareState(width, height);
}

BareSurface::~BareSurface() {
  aglDestroyContext(m_context);
}

void BareSurface::MakeCurrent() {
  aglSetPBuffer(m_context, m_pbuffer, 0, 0, aglGetVirtualScreen(m_context));
  aglSetCurrentContext(m_context);
}

void BareSurface::Clear() {
  glClearColor(0, 0, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

void BareSurface::SendMaterial(const AttrProperty& material) {
  const GLfloat alpha = 1 - material.transparency.Current();
  const GLfloat diffuse[] = {material.base.red.Current(), material.base.green.Current(),
                             material.base.blue.Current(), alpha};
  const GLfloat black[] = {0, 0, 0, alpha};
  const GLfloat noHighlight[] = {0, 0, 0, 1};
  glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, diffuse);
  glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, black);
  glMaterialfv(GL_FRONT_AND_BACK, GL_SHININESS, noHighlight);
  glMaterialfv(GL_FRONT_AND_BACK, GL_SPECULAR, noHighlight);
}

void ReadRows(int width, int height, std::uint8_t* row) {
  for (int y = height - 1; y >= 0; --y) {
    glReadPixels(0, y, width, 1, GL_RGB, GL_UNSIGNED_BYTE, row);
  }
}

void BareSurface::ReadRows() {
  bench::ReadRows(m_width, m_height, m_row.data());
}

std::vector<std::uint8_t> BareSurface::Pixels() {
  MakeCurrent();
  return ReadFrame(m_width, m_height);
}

std::vector<std::uint8_t> ReadFrame(int width, int height) {
  const std::size_t rowBytes = static_cast<std::size_t>(width) * 3;
  std::vector<std::uint8_t> pixels(rowBytes * static_cast<std::size_t>(height));
  for (int line = 0; line < height; ++line) {
    glReadPixels(0, height - 1 - line, width, 1, GL_RGB, GL_UNSIGNED_BYTE,
                 &pixels[rowBytes * static_cast<std::size_t>(line)]);
  }
  return pixels;
}

std::vector<std::uint8_t> ReadTexture(GLuint texture, int width, int height) {
  std::vector<std::uint8_t> texels(static_cast<std::size_t>(width) *
                                   static_cast<std::size_t>(height) * 4);
  GLint found[2] = {0, 0};
  glBindTexture(GL_TEXTURE_2D, texture);
  glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &found[0]);
  glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &found[1]);
  if (found[0] != width || found[1] != height) return {};
  glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, texels.data());
  return texels;
}

BareTriangles::BareTriangles(const Triangles& triangles, Storage storage)
    : m_triangles(triangles), m_indices(Sequence(triangles.size())) {
  if (storage == Storage::kClientArrays) return;
  glGenBuffers(2, m_buffers);
  glBindBuffer(GL_ARRAY_BUFFER, m_buffers[0]);
  glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(triangles.size() * sizeof(GAVertex)),
               triangles.data(), GL_STATIC_DRAW);
  glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, m_buffers[1]);
  glBufferData(GL_ELEMENT_ARRAY_BUFFER,
               static_cast<GLsizeiptr>(m_indices.size() * sizeof(std::uint32_t)), m_indices.data(),
               GL_STATIC_DRAW);
  glBindBuffer(GL_ARRAY_BUFFER, 0);
  glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
}

BareTriangles::~BareTriangles() {
  if (m_buffers[0]) glDeleteBuffers(2, m_buffers);
}

void BareTriangles::Draw(std::size_t first, std::size_t count) const {
  const GAVertex* vertices = m_triangles.data();
  const std::uint32_t* indices = m_indices.data() + first * 3;
  if (m_buffers[0]) {
    glBindBuffer(GL_ARRAY_BUFFER, m_buffers[0]);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, m_buffers[1]);
    vertices = nullptr;
    indices = reinterpret_cast<const std::uint32_t*>(first * 3 * sizeof(std::uint32_t));
  }
  const auto* base = reinterpret_cast<const char*>(vertices);
  glEnableClientState(GL_VERTEX_ARRAY);
  glEnableClientState(GL_NORMAL_ARRAY);
  glVertexPointer(3, GL_FLOAT, sizeof(GAVertex), base);
  glNormalPointer(GL_FLOAT, sizeof(GAVertex), base + offsetof(GAVertex, nx));
  glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(count * 3), GL_UNSIGNED_INT, indices);
  glDisableClientState(GL_VERTEX_ARRAY);
  glDisableClientState(GL_NORMAL_ARRAY);
  if (m_buffers[0]) {
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
  }
}

BareBatch::BareBatch(GLenum primitive, std::vector<GALitVertex> vertices,
                     std::vector<std::uint32_t> indices)
    : m_primitive(primitive), m_from(std::move(vertices)), m_indicesFrom(std::move(indices)) {}

void BareBatch::CopyAndDraw() {
  m_vertices.assign(m_from.begin(), m_from.end());
  m_indices.assign(m_indicesFrom.begin(), m_indicesFrom.end());
  glEnableClientState(GL_VERTEX_ARRAY);
  glEnableClientState(GL_COLOR_ARRAY);
  glVertexPointer(3, GL_FLOAT, sizeof(GALitVertex), &m_vertices.front().x);
  glColorPointer(4, GL_UNSIGNED_BYTE, sizeof(GALitVertex), &m_vertices.front().red);
  glDrawElements(m_primitive, static_cast<GLsizei>(m_indices.size()), GL_UNSIGNED_INT,
                 m_indices.data());
  glDisableClientState(GL_VERTEX_ARRAY);
  glDisableClientState(GL_COLOR_ARRAY);
}

}  // namespace bench
