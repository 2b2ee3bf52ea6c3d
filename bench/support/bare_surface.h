// A bare OpenGL surface for floors: the kind of pbuffer and the fixed state that the module draws
// with, and nothing between the bench and OpenGL.
#pragma once

#include <cstdint>
#include <vector>

#include "bench/support/geometry.h"
#include "host/AttrProperty.h"
#include "platform/agl.h"

namespace bench {

/// State, view and headlight as those of HostSurface, for the context that is current.
void SetBareState(int width, int height);

/// View and headlight as those of HostSurface. Its context is current after construction.
class BareSurface {
 public:
  BareSurface(int width, int height);
  BareSurface(const BareSurface&) = delete;
  BareSurface& operator=(const BareSurface&) = delete;
  ~BareSurface();

  void MakeCurrent();
  /// Clears to black.
  static void Clear();
  /// What the module sends for a material of PlainMaterial.
  static void SendMaterial(const AttrProperty& material);
  /// Reads the frame row by row into one row, as if each row went elsewhere from there.
  void ReadRows();
  /// The frame as red, green, blue bytes, the top row first.
  std::vector<std::uint8_t> Pixels();

 private:
  int m_width, m_height;
  AGLContext m_context = nullptr;
  AGLPbuffer m_pbuffer = nullptr;
  std::vector<std::uint8_t> m_row;
};

/// Reads the current surface row by row, the top one first, into `row`.
void ReadRows(int width, int height, std::uint8_t* row);

/// The current surface as red, green, blue bytes, the top row first.
std::vector<std::uint8_t> ReadFrame(int width, int height);

/// A texture of the current context's as red, green, blue, alpha bytes, the first row first. It is
/// bound afterwards.
std::vector<std::uint8_t> ReadTexture(GLuint texture, int width, int height);

/// Triangles ready to be drawn, in memory (client arrays) or in buffers of OpenGL. A context that
/// is current at construction must be at drawing and destruction.
class BareTriangles {
 public:
  enum class Storage { kClientArrays, kBuffers };
  BareTriangles(const Triangles& triangles, Storage storage);
  BareTriangles(const BareTriangles&) = delete;
  BareTriangles& operator=(const BareTriangles&) = delete;
  ~BareTriangles();

  void Draw() const { Draw(0, m_indices.size() / 3); }
  void Draw(std::size_t first, std::size_t count) const;

 private:
  const Triangles& m_triangles;
  std::vector<std::uint32_t> m_indices;
  GLuint m_buffers[2] = {0, 0};
};

/// Coloured vertices with indices, which are copied once as bytes and drawn from the copy: what
/// gathering a batch costs at the least.
class BareBatch {
 public:
  BareBatch(GLenum primitive, std::vector<GALitVertex> vertices,
            std::vector<std::uint32_t> indices);
  /// In the context that is current, whose lighting and texture are off.
  void CopyAndDraw();

 private:
  GLenum m_primitive;
  std::vector<GALitVertex> m_from, m_vertices;
  std::vector<std::uint32_t> m_indicesFrom, m_indices;
};

}  // namespace bench
