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
/// they cut their shape into lines and hand those to the derived adders. Counts, indices and
/// pointers are trusted. Nothing reports a failure.
///
/// A frame: BeginInstructions, then states (SetupLights, SetMaterial, SetTexture, SetDepthFunc) and
/// adders, EndInstructions or ExecuteInstructions, and the buffer's EndScene. Some adders draw at
/// once; others gather in batches, which are drawn, "flushed", with the state that is in force
/// then: before texture, material or lights are set anew, at the end, and when a batch grows beyond
/// the setting "Max Vertices". Single vertices and points go into the block that a PrepFor call
/// opened. What is transparent, by its texture's picture or its material, waits in the buffer for
/// the end of the scene where an adder is asked to check that.
///
/// A surface faces the viewer when its corners, seen on the screen, run counter-clockwise;
/// transparent ones that face away are not drawn. Its normals point away from the viewer then: the
/// GL's front is set to clockwise, and the other side is lit with normals turned round.
class DisplayList : public GAssistObject {
 public:
  explicit DisplayList(RenderInfo* info);
  DisplayList(const DisplayList&) = delete;
  DisplayList& operator=(const DisplayList&) = delete;
  virtual ~DisplayList();

  /// The view window changed its size: fits the buffer's context to it.
  virtual void OnSize() = 0;
  /// The colour of what is added without one from now on; kept as a copy. At first opaque white.
  virtual void SetDefaultColor(GAColor& color) = 0;
  /// A small switch of render state, despite its name: 0 and 1 depth test off and on, 2 additive
  /// and 3 normal blending, 4 and 5 lighting with the first light on and off; other numbers
  /// nothing. Closes the open block. Batches are not flushed: what waits is drawn with the new
  /// state.
  virtual void SetDepthFunc(int function) = 0;
  /// The texture of what follows; null, or one without a picture, for none. Flushes. Must not be
  /// called between the vertices of an open block.
  virtual void SetTexture(GATexture* texture) = 0;
  /// A vertex into the open block, in view space like the three below. All return 0.
  virtual int AddOGLVertex(const Vector& position, const GAColor& color) = 0;
  /// In the default colour.
  virtual int AddTransformedVertex(const Vector& position) = 0;
  virtual int AddTransformedVertex(const Vector& position, const GAColor& color) = 0;
  virtual int AddTransformedVertex(const Vector& position, const GAColor& color,
                                   const Vector2& uv) = 0;
  /// From object space, by RenderInfo::objectToView, which must be there.
  virtual int TransformAndAddVertex(Vector position, const GAColor& color) = 0;

  /// Opens a block of lines, without texture and lighting, for vertices two a line. Nothing happens
  /// when the list was prepared for lines last, also when the block has been closed since: the four
  /// PrepFor calls are remembered over frames.
  virtual void PrepForLines() = 0;
  /// Nothing.
  virtual void AddLine(int, int) = 0;
  /// A line from object space; the default colour where none is given.
  virtual void AddLine(Vector a, Vector b);
  virtual void AddLine(Vector a, Vector b, const GAColor& color);
  virtual void AddLine(Vector a, GAColor& colorA, Vector b, GAColor& colorB);
  /// Lines a[i] to b[i] from object space, from one colour to the other.
  virtual void AddLineList(Vector* a, Vector* b, int count, GAColor& colorA, GAColor& colorB);
  /// A line into the batch of lines. Colours are read now, in steps of 1/255; lighting and texture
  /// are those in force at the flush, so that hosts switch both off for lines.
  virtual void AddTransformedLine(const Vector& a, const Vector& b) = 0;
  virtual void AddTransformedLine(const Vector& a, const Vector& b, const GAColor& color) = 0;
  /// The same as AddTransformedLine.
  virtual void AddTransformedLineRef(const Vector& a, const Vector& b) = 0;
  virtual void AddTransformedLineRef(const Vector& a, const Vector& b, const GAColor& color) = 0;
  virtual void AddTransformedLine(const Vector& a, const GAColor& colorA, const Vector& b,
                                  const GAColor& colorB) = 0;
  /// A polyline through `count` points, in the default colour.
  virtual void AddTransformedLineList(Vector* points, int count) = 0;
  /// `count` lines a[i] to b[i], from one colour to the other.
  virtual void AddTransformedLineList(Vector* a, Vector* b, int count, GAColor& colorA,
                                      GAColor& colorB) = 0;
  /// A lit polyline, drawn at once, each point with a material of its own, twice as wide as the
  /// first point says, which is read also when `count` is 0. `smooth` other than 0 smooths it.
  /// Width and smoothing have no effect while a block is open.
  virtual void AddTransformedShadedLineList(GAShadedLineVertex* points, int count, int smooth) = 0;
  /// Lines of coloured vertices, drawn at once, two indices a line; texture and lighting go off.
  virtual void AddIndexedLineList(std::vector<GALitVertex>& vertices,
                                  std::vector<unsigned int>& indices) = 0;

  /// An outline, drawn at once in the default colour. On the near plane it is moved 0.005 inwards.
  virtual void AddRectangle(int x1, int y1, int x2, int y2, float z) = 0;
  /// In a colour; its z stays as it is.
  virtual void AddRectangle(int x1, int y1, int x2, int y2, float z, GAColor& color) = 0;
  /// Outline with elliptical corners of the given half axes, which are cut down to half the sides.
  virtual void AddRoundRect(int x1, int y1, int x2, int y2, float z, int radiusX, int radiusY,
                            GAColor& color);
  /// The circle centre + cos t * axisA + sin t * axisB, from object space.
  virtual void AddCircle(const Vector& center, const Vector& axisA, const Vector& axisB);
  virtual void AddCircle(const Vector& center, const Vector& axisA, const Vector& axisB,
                         GAColor& color);
  /// The half of that circle from t = 0 to pi, open at its ends.
  virtual void AddSemiCircle(const Vector& center, const Vector& axisA, const Vector& axisB,
                             GAColor& color);
  /// In view space.
  virtual void AddTransformedSemiCircle(const Vector& center, const Vector& axisA,
                                        const Vector& axisB, GAColor& color);
  /// A circle that faces the viewer: it lies in the view's xy plane.
  virtual void AddTransformedCircle(const Vector& center, const float& radius);
  virtual void AddTransformedCircle(const Vector& center, const float& radius,
                                    const GAColor& color);
  /// A sphere as rings of longitude and latitude.
  virtual void AddSphere(Vector center, float radius, GAColor& color);
  /// In view space.
  virtual void AddTransformedSphere(Vector center, float radius, GAColor& color);
  /// A square marker around a position in view space, `size` pixels to every side at the scale
  /// RenderInfo::scaleX, as large at any depth. In parallel views one that lies beyond the view's
  /// sides, or reaches beyond its top or bottom, is left out.
  virtual void AddCP(const Vector& position, int size, GAColor& color) = 0;

  /// Opens a block of points, without texture and lighting; see PrepForLines.
  virtual void PrepForPoints() = 0;
  /// A point into the open block, in the default colour.
  virtual void AddTransformedPoint(const Vector& position) = 0;
  virtual void AddTransformedPoint(const Vector& position, const GAColor& color) = 0;
  /// Nothing.
  virtual void AddPoint(int) = 0;

  /// Opens a block of triangles, without texture, for vertices three a triangle; see PrepForLines.
  virtual void PrepForPolygons() = 0;
  /// No block, no texture: for AddTransformedPolygon and AddTransformedPolygons.
  virtual void PrepForPolygonArray() = 0;
  /// A coloured triangle into its batch. It waits for the end of the scene, without its colours,
  /// when `checkTransparency` is not 0, depth is tested, and texture or material are transparent;
  /// one that finds no room there is drawn with the batch.
  virtual void AddTransformedPolygon(const VornPoly& polygon, int checkTransparency) = 0;
  /// Many, in the order of their depth keys, the smallest first.
  virtual void AddTransformedPolygons(const VornPoly* polygons, int count,
                                      int checkTransparency) = 0;
  /// A lit quad: lower left, lower right, upper left, upper right. `mode` 0 gathers it in a batch,
  /// 2 too, after setting the default colour; any other number gathers it when neither texture nor
  /// material is transparent, and else leaves it for the end of the scene. `textured` other than 0
  /// chooses the batch with texture coordinates.
  /// A mode with bit 0x8000 draws a lit polyline at once instead: bits 0 to 13 count its vertices,
  /// the first one's v is its width in pixels. With bit 0x4000 as well, and room in the queue of
  /// transparent triangles, every vertex fades by its u, 0 opaque, 1 clear, and the line lies over
  /// everything that is there. Width, smoothing and depth have no effect while a block is open.
  virtual void AddTransformedQuad(GAVertex* vertices, int mode, int textured) = 0;
  /// A lit triangle of the elements 0, 1 and 3 of four; element 2 is not read. Waits for the end of
  /// the scene when `checkTransparency` is not 0 and texture or material are transparent.
  virtual void AddTransformedTri(GAVertex* vertices, int checkTransparency) = 0;
  /// A quad as above, drawn at once with a diffuse colour a corner, which stays in force. Texture
  /// coordinates are used when `textured` is not 0.
  virtual void AddTransformedQuad(GAVertex* vertices, RGBFloat* colors, int textured) = 0;
  /// A coloured quad as above, drawn at once. Here the members red and blue change places: what is
  /// in blue is drawn red.
  virtual void AddTransformedQuad(GALitVertex* vertices) = 0;
  /// A filled rectangle, drawn at once, in the default colour where none is given.
  virtual void AddSolidRectangle(int x1, int y1, int x2, int y2, float z) = 0;
  virtual void AddSolidRectangle(int x1, int y1, int x2, int y2, float z, GAColor& color) = 0;
  /// A lit fan of indices into `vertices`, drawn at once, or left for the end of the scene as
  /// AddTransformedTri has it. The number of vertices is not looked at. Must not be called while a
  /// block is open, unless it has 100 indices or more.
  virtual void AddIndexedTriangleFan(GAVertex* vertices, unsigned long vertexCount,
                                     unsigned short* indices, unsigned long indexCount,
                                     int checkTransparency) = 0;
  /// Coloured triangles, three indices each, drawn at once without lighting. The number of vertices
  /// and the last argument are not looked at.
  virtual void AddIndexedLitTriangleList(GALitVertex* vertices, unsigned long vertexCount,
                                         unsigned short* indices, unsigned long indexCount,
                                         int) = 0;
  /// The same with a record that has texture coordinates; these are taken for positions, x and y.
  virtual void AddIndexedLitTriangleListWT(GALitVertexWT* vertices, unsigned long vertexCount,
                                           unsigned short* indices, unsigned long indexCount,
                                           int) = 0;

  /// Draws what waits for the end of the scene now, the farthest first. Lighting is off in the GL
  /// afterwards, and yet on for the buffer when it was on before: SetDepthFunc(5) puts that right
  /// before the next SetupLights.
  virtual void FlushTransparentPolys() = 0;
  /// Begins a frame: forgets the texture, without switching texturing off.
  virtual void BeginInstructions() = 0;
  /// Closes the open block, flushes, and switches lighting off.
  virtual void EndInstructions() = 0;
  /// Closes the open block and flushes.
  virtual void ExecuteInstructions() = 0;
  /// Flushes. The context must be current and no block open.
  virtual void FlushArrays() = 0;
  /// Nothing: what is added has been drawn or waits to be flushed.
  virtual void Execute() = 0;
  /// Loads the buffer's projection, 0 the screen's, else the scene's, unless this list loaded the
  /// same one last: a projection computed or loaded since does not count.
  virtual void SetProjection(int mode) = 0;
  /// Flushes and loads lights; null is one light from the eye's direction. Turns lighting on.
  /// Lights beyond what the GL has (eight at least) are left out. The list is also kept for what
  /// waits for the end of the scene.
  virtual void SetupLights(LightListNode* lights) = 0;
  /// Flushes and loads a material when it differs from the one in force; null loads none. It is
  /// kept for what waits for the end of the scene. A `transparencyScale` other than 0 scales alpha,
  /// and makes the base colour white.
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
