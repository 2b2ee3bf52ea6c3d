// The host's display list: what a host draws through, with the drawing operations that every
// renderer inherits.
#pragma once

#include <cstdint>
#include <vector>

#include "host/AttrProperty.h"
#include "host/Colors.h"
#include "host/Heaps.h"
#include "host/Lights.h"
#include "host/Vectors.h"
#include "host/Vertices.h"
#include "host/VornPoly.h"

class GATexture;
struct RenderInfo;

/// Operations in binary-interface order. "Transformed" coordinates are in view space, the others
/// in object space (RenderInfo::objectToView applies); rectangles are in the current projection's
/// units. Pointers handed in are read during the call, except materials, light lists and textures,
/// which must live until the frame is drawn. The operations that are not pure are the host's own:
/// they cut their shape into lines and hand those to the derived adders.
class DisplayList : public GAssistObject {
 public:
  explicit DisplayList(RenderInfo* info);
  DisplayList(const DisplayList&) = delete;
  DisplayList& operator=(const DisplayList&) = delete;
  virtual ~DisplayList();

  virtual void OnSize() = 0;
  virtual void SetDefaultColor(GAColor& color) = 0;
  virtual void SetDepthFunc(int function) = 0;
  virtual void SetTexture(GATexture* texture) = 0;
  virtual int AddOGLVertex(const Vector& position, const GAColor& color) = 0;
  virtual int AddTransformedVertex(const Vector& position) = 0;
  virtual int AddTransformedVertex(const Vector& position, const GAColor& color) = 0;
  virtual int AddTransformedVertex(const Vector& position, const GAColor& color,
                                   const Vector2& uv) = 0;
  virtual int TransformAndAddVertex(Vector position, const GAColor& color) = 0;

  virtual void PrepForLines() = 0;
  virtual void AddLine(int, int) = 0;
  virtual void AddLine(Vector a, Vector b);
  virtual void AddLine(Vector a, Vector b, const GAColor& color);
  virtual void AddLine(Vector a, GAColor& colorA, Vector b, GAColor& colorB);
  virtual void AddLineList(Vector* a, Vector* b, int count, GAColor& colorA, GAColor& colorB);
  virtual void AddTransformedLine(const Vector& a, const Vector& b) = 0;
  virtual void AddTransformedLine(const Vector& a, const Vector& b, const GAColor& color) = 0;
  virtual void AddTransformedLineRef(const Vector& a, const Vector& b) = 0;
  virtual void AddTransformedLineRef(const Vector& a, const Vector& b, const GAColor& color) = 0;
  virtual void AddTransformedLine(const Vector& a, const GAColor& colorA, const Vector& b,
                                  const GAColor& colorB) = 0;
  virtual void AddTransformedLineList(Vector* points, int count) = 0;
  virtual void AddTransformedLineList(Vector* a, Vector* b, int count, GAColor& colorA,
                                      GAColor& colorB) = 0;
  virtual void AddTransformedShadedLineList(GAShadedLineVertex* points, int count, int smooth) = 0;
  virtual void AddIndexedLineList(std::vector<GALitVertex>& vertices,
                                  std::vector<unsigned int>& indices) = 0;

  virtual void AddRectangle(int x1, int y1, int x2, int y2, float z) = 0;
  virtual void AddRectangle(int x1, int y1, int x2, int y2, float z, GAColor& color) = 0;
  /// Outline with elliptical corners of the given half axes, which are cut down to half the sides.
  virtual void AddRoundRect(int x1, int y1, int x2, int y2, float z, int radiusX, int radiusY,
                            GAColor& color);
  /// The circle centre + cos t * axisA + sin t * axisB.
  virtual void AddCircle(const Vector& center, const Vector& axisA, const Vector& axisB);
  virtual void AddCircle(const Vector& center, const Vector& axisA, const Vector& axisB,
                         GAColor& color);
  /// The half of that circle from t = 0 to pi, open at its ends.
  virtual void AddSemiCircle(const Vector& center, const Vector& axisA, const Vector& axisB,
                             GAColor& color);
  virtual void AddTransformedSemiCircle(const Vector& center, const Vector& axisA,
                                        const Vector& axisB, GAColor& color);
  /// A circle that faces the viewer: it lies in the view's xy plane.
  virtual void AddTransformedCircle(const Vector& center, const float& radius);
  virtual void AddTransformedCircle(const Vector& center, const float& radius,
                                    const GAColor& color);
  /// A sphere as rings of longitude and latitude.
  virtual void AddSphere(Vector center, float radius, GAColor& color);
  virtual void AddTransformedSphere(Vector center, float radius, GAColor& color);
  virtual void AddCP(const Vector& position, int size, GAColor& color) = 0;

  virtual void PrepForPoints() = 0;
  virtual void AddTransformedPoint(const Vector& position) = 0;
  virtual void AddTransformedPoint(const Vector& position, const GAColor& color) = 0;
  virtual void AddPoint(int) = 0;

  virtual void PrepForPolygons() = 0;
  virtual void PrepForPolygonArray() = 0;
  virtual void AddTransformedPolygon(const VornPoly& polygon, int checkTransparency) = 0;
  virtual void AddTransformedPolygons(const VornPoly* polygons, int count,
                                      int checkTransparency) = 0;
  virtual void AddTransformedQuad(GAVertex* vertices, int mode, int textured) = 0;
  virtual void AddTransformedTri(GAVertex* vertices, int checkTransparency) = 0;
  virtual void AddTransformedQuad(GAVertex* vertices, RGBFloat* colors, int textured) = 0;
  virtual void AddTransformedQuad(GALitVertex* vertices) = 0;
  virtual void AddSolidRectangle(int x1, int y1, int x2, int y2, float z) = 0;
  virtual void AddSolidRectangle(int x1, int y1, int x2, int y2, float z, GAColor& color) = 0;
  virtual void AddIndexedTriangleFan(GAVertex* vertices, unsigned long vertexCount,
                                     unsigned short* indices, unsigned long indexCount,
                                     int checkTransparency) = 0;
  virtual void AddIndexedLitTriangleList(GALitVertex* vertices, unsigned long vertexCount,
                                         unsigned short* indices, unsigned long indexCount,
                                         int) = 0;
  virtual void AddIndexedLitTriangleListWT(GALitVertexWT* vertices, unsigned long vertexCount,
                                           unsigned short* indices, unsigned long indexCount,
                                           int) = 0;

  virtual void FlushTransparentPolys() = 0;
  virtual void BeginInstructions() = 0;
  virtual void EndInstructions() = 0;
  virtual void ExecuteInstructions() = 0;
  virtual void FlushArrays() = 0;
  virtual void Execute() = 0;
  virtual void SetProjection(int mode) = 0;
  virtual void SetupLights(LightListNode* lights) = 0;
  virtual void SetMaterial(AttrProperty* material, float transparencyScale) = 0;

 protected:
  std::vector<GALitVertex> m_lineVertices;
  std::vector<std::uint32_t> m_lineIndices;  // two a segment
  RenderInfo* m_renderInfo;
  GAColor m_defaultColor;  // opaque white at the start
  GATexture* m_currentTexture = nullptr;
  int m_projectionMode = 1;             // scene projection
  std::uint32_t m_lineVertexCount = 0;  // next index to hand out
  int m_texturingOn = 0;
};
