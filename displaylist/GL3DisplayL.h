// The module's display list: host geometry into GL calls, batched where it pays.
//
// Bodies by theme: GL3DisplayL.cpp (state switches and instruction lists), GL3DisplayLBatches.cpp
// (flushing), GL3DisplayLLines.cpp (lines and points), GL3DisplayLPolygons.cpp (pre-coloured
// triangles), GL3DisplayLTriangles.cpp (lit triangles and quads), GL3DisplayLIndexed.cpp (indexed
// fans and lists), GL3DisplayLRectangles.cpp (rectangles and control points).
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "buffer/GL3Buffer.h"
#include "displaylist/VertexBatch.h"
#include "host/DisplayList.h"
#include "platform/agl.h"

class GL3GATexture;

/// OpenGL implementation of the host's display list.
///
/// Nothing is recorded to be played back. Small primitives go into one open glBegin block; lines
/// and triangles are gathered into batches, which are flushed before the texture, the material or
/// the lights are set anew, triangles but those of control points also when they grow beyond "Max
/// Vertices". A batch is drawn with the state in force at the flush: other switches act on what
/// waits as well. Textures are set and batches flushed through the virtual table, so that a
/// subclass sees it.
class GL3DisplayList : public DisplayList {
 public:
  /// `info` names the buffer to draw into, which must have its context already. Without one the
  /// list draws into a buffer of its own, which has no surface.
  explicit GL3DisplayList(RenderInfo* info);
  ~GL3DisplayList() override;

  void OnSize() override;
  void SetDefaultColor(GAColor& color) override;
  /// A small switch of render state, despite its name: 0 and 1 depth test off and on, 2 additive
  /// and 3 normal blending, 4 and 5 lighting with the first light on and off.
  void SetDepthFunc(int function) override;
  void SetTexture(GATexture* texture) override;
  int AddOGLVertex(const Vector& position, const GAColor& color) override;
  int AddTransformedVertex(const Vector& position) override;
  int AddTransformedVertex(const Vector& position, const GAColor& color) override;
  int AddTransformedVertex(const Vector& position, const GAColor& color,
                           const Vector2& uv) override;
  int TransformAndAddVertex(Vector position, const GAColor& color) override;

  void PrepForLines() override;
  using DisplayList::AddLine;
  void AddLine(int, int) override;
  void AddTransformedLine(const Vector& a, const Vector& b) override;
  void AddTransformedLine(const Vector& a, const Vector& b, const GAColor& color) override;
  void AddTransformedLineRef(const Vector& a, const Vector& b) override;
  void AddTransformedLineRef(const Vector& a, const Vector& b, const GAColor& color) override;
  void AddTransformedLine(const Vector& a, const GAColor& colorA, const Vector& b,
                          const GAColor& colorB) override;
  void AddTransformedLineList(Vector* points, int count) override;
  void AddTransformedLineList(Vector* a, Vector* b, int count, GAColor& colorA,
                              GAColor& colorB) override;
  void AddTransformedShadedLineList(GAShadedLineVertex* points, int count, int smooth) override;
  void AddIndexedLineList(std::vector<GALitVertex>& vertices,
                          std::vector<unsigned int>& indices) override;

  void AddRectangle(int x1, int y1, int x2, int y2, float z) override;
  void AddRectangle(int x1, int y1, int x2, int y2, float z, GAColor& color) override;
  void AddCP(const Vector& position, int size, GAColor& color) override;

  void PrepForPoints() override;
  void AddTransformedPoint(const Vector& position) override;
  void AddTransformedPoint(const Vector& position, const GAColor& color) override;
  void AddPoint(int) override;

  void PrepForPolygons() override;
  void PrepForPolygonArray() override;
  void AddTransformedPolygon(const VornPoly& polygon, int checkTransparency) override;
  void AddTransformedPolygons(const VornPoly* polygons, int count, int checkTransparency) override;
  void AddTransformedQuad(GAVertex* vertices, int mode, int textured) override;
  void AddTransformedTri(GAVertex* vertices, int checkTransparency) override;
  void AddTransformedQuad(GAVertex* vertices, RGBFloat* colors, int textured) override;
  void AddTransformedQuad(GALitVertex* vertices) override;
  void AddSolidRectangle(int x1, int y1, int x2, int y2, float z) override;
  void AddSolidRectangle(int x1, int y1, int x2, int y2, float z, GAColor& color) override;
  void AddIndexedTriangleFan(GAVertex* vertices, unsigned long vertexCount, unsigned short* indices,
                             unsigned long indexCount, int checkTransparency) override;
  void AddIndexedLitTriangleList(GALitVertex* vertices, unsigned long vertexCount,
                                 unsigned short* indices, unsigned long indexCount, int) override;
  void AddIndexedLitTriangleListWT(GALitVertexWT* vertices, unsigned long vertexCount,
                                   unsigned short* indices, unsigned long indexCount, int) override;

  void FlushTransparentPolys() override;
  void BeginInstructions() override;
  void EndInstructions() override;
  void ExecuteInstructions() override;
  /// Draws every batch that holds something. It neither makes the context current nor closes the
  /// open block.
  void FlushArrays() override;
  void Execute() override;
  void SetProjection(int mode) override;
  void SetupLights(LightListNode* lights) override;
  void SetMaterial(AttrProperty* material, float transparencyScale) override;

  /// False when there was no memory for a buffer of its own.
  bool HasBuffer() const { return m_buffer != nullptr; }
  /// Makes the buffer's context current unless it was the last one made current.
  void MakeCurrent();

 private:
  static constexpr int kNoBlock = -1;
  enum PrepMode : int { kNotPrepared, kPoints, kLines, kPolygons, kPolygonArray };
  /// Colours of a polygon's corners as its batch holds them.
  struct PolygonColors {
    ColorBuf c0, c1, c2;
  };

  bool Prepare(PrepMode mode);
  void PrepareUnlit(PrepMode mode, int primitive);
  void CloseBlock();
  void OpenBlock(int primitive);
  int SuspendBlock();
  void ResumeBlock(int primitive);
  void FlushIfPending();
  void DisableTexturing();
  void DisableLighting();
  GL3GATexture* CurrentTexture() const;
  bool IsStateTransparent() const;

  void AppendSegment(const Vector& a, const ColorBuf& colorA, const Vector& b,
                     const ColorBuf& colorB);
  void AppendSegment(const Vector& a, const Vector& b, const GAColor& color);
  void FlushLines();
  void StartAppending(std::size_t entries);
  bool ArePolygonsTransparent(int checkTransparency) const;
  static PolygonColors ColorsOf(const VornPoly& polygon);
  void AppendPolygon(const VornPoly& polygon, const PolygonColors& colors);
  bool QueuePolygon(const VornPoly& polygon);
  bool QueueTriangle(const GAVertex& a, const GAVertex& b, const GAVertex& c);
  void AppendQuad(const GAVertex* vertices, bool textured);
  void QueueQuad(const GAVertex* vertices);
  void DrawPolyline(GAVertex* vertices, int count);
  void DrawFadingPolyline(GAVertex* vertices, int count);
  void DrawFan(const GAVertex* vertices, const unsigned short* indices, unsigned long count);
  void PrepareColoredList();
  void DrawRectangle(int primitive, const float (&corners)[4][2], float z, const GAColor& color);
  void DrawOutline(int x1, int y1, int x2, int y2, float z, const GAColor& color);

  AGLContext m_context = nullptr;
  std::unique_ptr<GL3GABuffer> m_ownBuffer;  // null as a rule
  GL3GABuffer* m_buffer;
  AttrProperty* m_currentMaterial = nullptr;
  LightListNode* m_currentLights = nullptr;
  int m_openPrimitive = kNoBlock;
  int m_prepMode = kNotPrepared;
  VertexBatch<GAVertex> m_lit;                   // batch A: normals, no texture
  VertexBatch<GAVertex> m_litTextured;           // batch B: normals and texture coordinates
  VertexBatch<GALitVertex> m_colored;            // batch C: colours
  VertexBatch<GALitVertexWT> m_coloredTextured;  // batch D: colours and texture coordinates
};

/// Whether `a` comes before `b` in AddTransformedPolygons: by ascending depth key. A key that is
/// NaN is neither before nor behind another: std::sort takes this order only without such keys.
bool SortZOrder(const VornPoly& a, const VornPoly& b);
