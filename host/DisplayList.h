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

/// Operations in binary-interface order. "Transformed" coordinates are in the units of the loaded
/// projection (GABuffer::Projection), which are called view space here: view units, y upwards, in
/// the scene's; pixels, y downwards, in the screen's, for lines, polygons and points as well as for
/// rectangles. The other coordinates are in object space, from which RenderInfo::objectToView leads
/// there. In both projections `z` is one between RenderInfo::farZ and nearZ: at another z, 0 for
/// one, nothing is seen, and at nearZ or farZ itself rounding decides. Of two things at one depth
/// the later one is seen. Pointers handed in are read during the call, except materials, light
/// lists and textures, which must live until the frame is drawn. The operations that are not pure
/// are the host's own: they cut their shape into lines and hand those to the derived adders.
/// Counts, indices and pointers are trusted: an index beyond the vertices is followed, a null
/// pointer too. Nothing reports a failure.
///
/// Made by GADriver::CreateDisplayList, deleted by the host before its buffer; one list a buffer.
/// Used on the host's drawing thread alone.
///
/// Pixels, in the screen's projection: an area has those whose middle lies inside, so that one from
/// 10 to 20 has pixels 10 to 19. Lines are one pixel wide unless told otherwise. One between
/// middles of pixels, (10.5, 4.5) to (20.5, 4.5), has those from 10 to 19: the end's own pixel is
/// left to the next line. Lines at whole coordinates lie between two rows of pixels, and the GL
/// chooses: outlines of rectangles do. A point is one pixel, the one that it lies in.
///
/// A frame: BeginInstructions, then states (SetupLights, SetMaterial, SetTexture, SetDepthFunc) and
/// adders, EndInstructions or ExecuteInstructions, and the buffer's EndScene. Some adders draw at
/// once; others gather in batches, which are drawn, "flushed", with the state that is in force
/// then: before texture, material or lights are set anew, at the end, and when a batch grows beyond
/// the setting "Max Vertices". Single vertices and points go into the block that a PrepFor call
/// opened. What is transparent, by its texture's picture or its material, waits in the buffer for
/// the end of the scene where an adder is asked to check that.
///
/// Despite its name a list records nothing: what is added is drawn at once or with its batch, and
/// gone. The same again is added again. Instructions may begin and end several times a frame,
/// before EndScene and after it, for overlays; all is drawn in the order of the calls but for what
/// waits.
///
/// The GL's front is set to clockwise. A surface is lit where its normals point to the side from
/// which its corners run clockwise as seen on the screen; the other side, from which they run
/// counter-clockwise, is lit with normals turned round. So light falls on what the viewer sees when
/// corners run clockwise and normals point to him, and when corners run counter-clockwise and
/// normals point away; else there is ambient light alone. What is transparent and waits has to run
/// counter-clockwise: clockwise it counts as facing away, and is left out. What is opaque is better
/// handed in clockwise, triangle by triangle, since llvmpipe (Mesa 22.3), which lights backs right
/// at first, does not after a scene with glass. Opaque surfaces are drawn from both sides: far
/// faces of a closed body are covered by its near ones, and may be left out.
///
/// Under perspective, depths in the two projections do not compare: at one z between the planes,
/// what is drawn in the screen's counts as nearer than what is drawn in the scene's.
class DisplayList : public GAssistObject {
 public:
  /// What SetDepthFunc switches.
  enum RenderSwitch : int {
    kDepthTestOff = 0,      ///< What is drawn covers all that is there.
    kDepthTestOn = 1,       ///< What is nearer covers what is farther.
    kAdditiveBlending = 2,  ///< alpha * colour is added to what is there.
    kNormalBlending = 3,    ///< alpha * colour + (1 - alpha) * what is there.
    kLightingOn = 4,        ///< Lighting, and the first light, whatever was loaded into it last.
    kLightingOff = 5        ///< No lighting: colours as they are.
  };
  /// The mode of AddTransformedQuad(GAVertex*, int, int): one of the first three, or kQuadPolyline
  /// with a count and perhaps kQuadFading.
  enum QuadMode : int {
    kQuadBatched = 0,         ///< Into the batch, transparent or not.
    kQuadSorted = 1,          ///< What is transparent waits for the end of the scene.
    kQuadDefaultColor = 2,    ///< As kQuadBatched; the default colour becomes the GL's before.
    kQuadCountMask = 0x3FFF,  ///< The bits of a polyline's number of vertices.
    kQuadFading = 0x4000,     ///< A polyline whose vertices fade.
    kQuadPolyline = 0x8000    ///< No quad, but a polyline.
  };
  /// Whether an adder looks for transparency.
  enum TransparencyCheck : int {
    kDrawAsOpaque = 0,      ///< All is drawn with its batch, or at once.
    kCheckTransparency = 1  ///< What is transparent waits for the end of the scene.
  };

  /// Of derived classes, which draw. `info` is not owned and must outlive the list. The default
  /// colour becomes opaque white, of the current driver.
  explicit DisplayList(RenderInfo* info);
  DisplayList(const DisplayList&) = delete;
  DisplayList& operator=(const DisplayList&) = delete;
  /// What was not flushed is lost.
  virtual ~DisplayList();

  /// The view window changed its size: fits the buffer's context and the viewport to it, at the
  /// size that the buffer's Reallocate was given.
  virtual void OnSize() = 0;
  /// The colour of what is added without one from now on; kept as a copy. At first opaque white.
  virtual void SetDefaultColor(GAColor& color) = 0;
  /// A small switch of render state, despite its name (RenderSwitch); other numbers do nothing. At
  /// the start of a surface: depth test as Reallocate was asked, normal blending, no lighting; from
  /// then on each stays until it is switched. Closes the open block. Batches are not flushed: what
  /// waits is drawn with the new state.
  virtual void SetDepthFunc(int function) = 0;
  /// The texture of what follows; null, or one without a picture, for none. Flushes. Must not be
  /// called between the vertices of an open block.
  virtual void SetTexture(GATexture* texture) = 0;
  /// A vertex into the block that a PrepFor call opened, in view space like the three below;
  /// without a block the GL refuses it. All return 0.
  virtual int AddOGLVertex(const Vector& position, const GAColor& color) = 0;
  /// In the default colour.
  virtual int AddTransformedVertex(const Vector& position) = 0;
  /// In a colour.
  virtual int AddTransformedVertex(const Vector& position, const GAColor& color) = 0;
  /// With texture coordinates.
  virtual int AddTransformedVertex(const Vector& position, const GAColor& color,
                                   const Vector2& uv) = 0;
  /// From object space, by RenderInfo::objectToView, which must be there.
  virtual int TransformAndAddVertex(Vector position, const GAColor& color) = 0;

  /// Opens a block of lines, without texture and lighting, for vertices two a line. Nothing happens
  /// when the list was prepared for lines last, also when the block has been closed since: the four
  /// PrepFor calls are remembered over frames, and BeginInstructions does not forget them. So who
  /// opens the same kind of block in every frame calls PrepForPolygonArray in between.
  virtual void PrepForLines() = 0;
  /// Nothing.
  virtual void AddLine(int, int) = 0;
  /// A line from object space, through AddTransformedLine; the default colour where none is given.
  virtual void AddLine(Vector a, Vector b);
  /// In a colour.
  virtual void AddLine(Vector a, Vector b, const GAColor& color);
  /// From one colour to another.
  virtual void AddLine(Vector a, GAColor& colorA, Vector b, GAColor& colorB);
  /// Lines a[i] to b[i] from object space, from one colour to the other.
  virtual void AddLineList(Vector* a, Vector* b, int count, GAColor& colorA, GAColor& colorB);
  /// A line into the batch of lines, one pixel wide, in the default colour. On pixels see above.
  /// Colours are read now, in steps of 1/255; lighting and texture are those in force at the flush,
  /// so that hosts switch both off for lines.
  virtual void AddTransformedLine(const Vector& a, const Vector& b) = 0;
  /// In a colour.
  virtual void AddTransformedLine(const Vector& a, const Vector& b, const GAColor& color) = 0;
  /// The same as AddTransformedLine.
  virtual void AddTransformedLineRef(const Vector& a, const Vector& b) = 0;
  /// The same as AddTransformedLine, in a colour.
  virtual void AddTransformedLineRef(const Vector& a, const Vector& b, const GAColor& color) = 0;
  /// From one colour to another.
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
  /// Both arrays are read during the call; indices are trusted.
  virtual void AddIndexedLineList(std::vector<GALitVertex>& vertices,
                                  std::vector<unsigned int>& indices) = 0;

  /// An outline, drawn at once in the default colour, with the texture and lighting in force. On
  /// the near plane it is moved 0.005 inwards. It lies between pixels, see above; one through the
  /// middles of pixels is an AddTransformedLineList.
  virtual void AddRectangle(int x1, int y1, int x2, int y2, float z) = 0;
  /// In a colour; its z stays as it is.
  virtual void AddRectangle(int x1, int y1, int x2, int y2, float z, GAColor& color) = 0;
  /// Outline with elliptical corners of the given half axes, which are cut down to half the sides.
  virtual void AddRoundRect(int x1, int y1, int x2, int y2, float z, int radiusX, int radiusY,
                            GAColor& color);
  /// The circle centre + cos t * axisA + sin t * axisB, from object space.
  virtual void AddCircle(const Vector& center, const Vector& axisA, const Vector& axisB);
  /// In a colour.
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
  /// In a colour.
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
  /// In a colour.
  virtual void AddTransformedPoint(const Vector& position, const GAColor& color) = 0;
  /// Nothing.
  virtual void AddPoint(int) = 0;

  /// Opens a block of triangles, without texture, for vertices three a triangle; see PrepForLines.
  virtual void PrepForPolygons() = 0;
  /// No block, no texture: for AddTransformedPolygon and AddTransformedPolygons.
  virtual void PrepForPolygonArray() = 0;
  /// A coloured triangle into its batch. It waits for the end of the scene, without its colours,
  /// when `checkTransparency` (TransparencyCheck) is not 0, depth is tested, and texture or
  /// material are transparent; one that finds no room there is drawn with the batch. Hosts switch
  /// lighting off (kLightingOff), or the colours are those of the material. Unlit and drawn as
  /// opaque, its corners may run either way; what waits has to run counter-clockwise.
  virtual void AddTransformedPolygon(const VornPoly& polygon, int checkTransparency) = 0;
  /// Many, in the order of their depth keys, the smallest first.
  virtual void AddTransformedPolygons(const VornPoly* polygons, int count,
                                      int checkTransparency) = 0;
  /// A lit quad of four vertices in the order of a strip: lower left, lower right, upper left,
  /// upper right, as seen by the viewer whom it faces: that is glass, counter-clockwise with
  /// normals away from him. What is opaque begins at the right (lower right, lower left, upper
  /// right, upper left), clockwise with normals to him. `mode` (QuadMode) 0 gathers it in a batch,
  /// 2 too, after setting the default colour; any other number gathers it when neither texture nor
  /// material is transparent, and else leaves it for the end of the scene; a full queue is drawn
  /// first. `textured` other than 0 chooses the batch with texture coordinates: without it they are
  /// not read, and with a texture on, all of the quad has one texel's colour.
  ///
  /// A mode with bit 0x8000 draws a lit polyline at once instead: bits 0 to 13 count its vertices,
  /// the first one's v is its width in pixels. With bit 0x4000 as well, and room in the queue of
  /// transparent triangles, every vertex fades by its u, 0 opaque, 1 clear, and the line lies over
  /// everything that is there. Width, smoothing and depth have no effect while a block is open.
  virtual void AddTransformedQuad(GAVertex* vertices, int mode, int textured) = 0;
  /// A lit triangle of the elements 0, 1 and 3 of four; element 2 is not read. As the viewer sees
  /// it, glass runs counter-clockwise with normals away from him, and what is opaque clockwise with
  /// normals to him. Waits for the end of the scene when `checkTransparency` (TransparencyCheck) is
  /// not 0 and texture or material are transparent, else goes to the batch with texture
  /// coordinates; so does one that finds no room in the queue.
  virtual void AddTransformedTri(GAVertex* vertices, int checkTransparency) = 0;
  /// A quad as above, drawn at once with one of four diffuse colours a corner, opaque, the last of
  /// which stays in force; lit, unless lighting is off. Texture coordinates are used when
  /// `textured` is not 0.
  virtual void AddTransformedQuad(GAVertex* vertices, RGBFloat* colors, int textured) = 0;
  /// A coloured quad as above, four vertices, drawn at once. Here the members red and blue change
  /// places: what is in blue is drawn red. Unlit where lighting is off.
  virtual void AddTransformedQuad(GALitVertex* vertices) = 0;
  /// A filled rectangle, drawn at once, in the default colour where none is given.
  virtual void AddSolidRectangle(int x1, int y1, int x2, int y2, float z) = 0;
  /// In a colour.
  virtual void AddSolidRectangle(int x1, int y1, int x2, int y2, float z, GAColor& color) = 0;
  /// A lit fan of indices into `vertices`, drawn at once, or left for the end of the scene as
  /// AddTransformedTri has it; `indexCount` is 3 at least. The number of vertices is not looked at:
  /// indices are trusted. Must not be called while a block is open, unless it has 100 indices or
  /// more.
  virtual void AddIndexedTriangleFan(GAVertex* vertices, unsigned long vertexCount,
                                     unsigned short* indices, unsigned long indexCount,
                                     int checkTransparency) = 0;
  /// Coloured triangles, three indices each, drawn at once without lighting, which goes off.
  /// Neither the number of vertices nor the last argument is looked at: indices are trusted.
  virtual void AddIndexedLitTriangleList(GALitVertex* vertices, unsigned long vertexCount,
                                         unsigned short* indices, unsigned long indexCount,
                                         int) = 0;
  /// The same with a record that has texture coordinates; these are taken for positions, x and y,
  /// at z = 0, where nothing is seen. Hosts use AddIndexedLitTriangleList, or
  /// AddTransformedPolygons for coloured triangles with a texture.
  virtual void AddIndexedLitTriangleListWT(GALitVertexWT* vertices, unsigned long vertexCount,
                                           unsigned short* indices, unsigned long indexCount,
                                           int) = 0;

  /// Draws what waits for the end of the scene now, the farthest first, as the buffer's EndScene
  /// does. Batches are not flushed first: ExecuteInstructions is. Lighting is off in the GL
  /// afterwards, and yet on for the buffer when it was on before or what waited had a light list:
  /// then the next SetupLights would not turn it on, and what follows would be unlit.
  /// SetDepthFunc(kLightingOff) puts that right before it, and so does EndInstructions afterwards.
  /// When the last that was drawn had a texture, texturing is off in the GL, too, and yet on for
  /// the list when it was on before: then the next SetTexture would not turn it on.
  /// SetTexture(nullptr) puts that right before it. GABuffer::TransparentBlit does the same.
  virtual void FlushTransparentPolys() = 0;
  /// Begins a frame, or a part of it: forgets the texture, without switching texturing off
  /// (SetTexture(nullptr) does, and puts right what textured glass leaves: FlushTransparentPolys).
  /// All other state is as the frame before left it: what PrepFor prepared, depth test, blending,
  /// lighting, projection, material.
  virtual void BeginInstructions() = 0;
  /// Ends a frame's instructions: closes the open block, flushes, and switches lighting off. The
  /// context must be current. What is transparent still waits for the buffer's EndScene.
  virtual void EndInstructions() = 0;
  /// Closes the open block and flushes, at any time between BeginInstructions and EndInstructions.
  virtual void ExecuteInstructions() = 0;
  /// Flushes. The context must be current and no block open.
  virtual void FlushArrays() = 0;
  /// Nothing: what is added has been drawn or waits to be flushed.
  virtual void Execute() = 0;
  /// Loads the buffer's projection (GABuffer::Projection), 0 the screen's, else the scene's, unless
  /// this list loaded the same one last (the scene's at first): a projection computed or loaded by
  /// the buffer since does not count. Batches are not flushed: ExecuteInstructions before it.
  virtual void SetProjection(int mode) = 0;
  /// Flushes and loads lights; null is one light from the eye's direction, white. Turns lighting
  /// on. Lights beyond what the GL has (eight at least) are left out. The list is also kept for
  /// what waits for the end of the scene: it must live until then.
  virtual void SetupLights(LightListNode* lights) = 0;
  /// Flushes and loads a material when it differs from the one in force; null loads none, and what
  /// would wait for the end of the scene without one is never drawn. The record is kept for what
  /// waits: it must live until then. A `transparencyScale` other than 0 scales alpha, and makes the
  /// base colour white; what waits is drawn without it.
  virtual void SetMaterial(AttrProperty* material, float transparencyScale) = 0;

 protected:
  // State of the derived class, which stands here since its place is part of the interface.
  std::vector<GALitVertex> m_lineVertices;   ///< Of the batch of lines.
  std::vector<std::uint32_t> m_lineIndices;  ///< Two a segment.
  RenderInfo* m_renderInfo;                  ///< As it was given; not owned.
  GAColor m_defaultColor;                    ///< Opaque white at the start.
  GATexture* m_currentTexture = nullptr;     ///< As SetTexture had it last; not owned.
  int m_projectionMode = 1;             ///< As SetProjection had it last; the scene's at first.
  std::uint32_t m_lineVertexCount = 0;  ///< The next index to hand out.
  int m_texturingOn = 0;                ///< Whether texturing is on in the GL.
};
