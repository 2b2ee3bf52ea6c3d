// The host's abstract frame buffer.
#pragma once

#include "host/Colors.h"
#include "host/Heaps.h"
#include "host/Vectors.h"
#include "platform/mfc.h"
#include "platform/win32.h"

class GATexture;
class HBitmapNode;

/// A drawing surface with its own view and its own GL context. Frames of two buffers go one after
/// the other, each to its end: what some of a list's operations draw goes to the context that is
/// current, whichever buffer's that is. The order of the operations is the binary interface between
/// host and module. Operations return 1 for success and 0 for failure unless said otherwise. Pixel
/// coordinates have their origin at the top left but for GetZValue.
///
/// A frame: Reallocate and ComputeProjectionMatrices once a size, then Clear,
/// SetProjection(kSceneProjection), fog, what display lists draw, EndScene, and FillBitmapNode or
/// BlitToFront. Whatever draws or reads makes the context current; the exceptions are said. Before
/// Reallocate succeeded there is no context, and operations do nothing that can be seen.
///
/// Made by GADriver::CreateBuffer, deleted by the host after the display list that draws into it.
/// Used on the host's drawing thread alone. Records and pointers are trusted; one that was made
/// without a RenderInfo has a view without pixels.
class GABuffer : public GAssistObject {
 public:
  /// Kinds of surface, for GADriver::CreateBuffer.
  enum Mode : int {
    kOnScreen = 0,   ///< In a window; a new context at each Reallocate. So is any number but these.
    kOffScreen = 1,  ///< A surface in memory; a new context at each Reallocate.
    kKeepContext = 2  ///< In a window; a later Reallocate keeps the context, with its state.
  };
  /// What Reallocate is asked for.
  enum ReallocateOption : int {
    kWithoutDepth = 0,  ///< No depth buffer, and no depth test.
    kWithDepth = 1      ///< A depth buffer, and the depth test switched on.
  };
  /// What SetProjection loads.
  enum Projection : int {
    kScreenProjection = 0,  ///< Pixels, x to the right and y downwards from the top left.
    kSceneProjection = 1    ///< View space, seen as RenderInfo says.
  };
  /// Order of rows, for FillBitmapNode.
  enum RowOrder : int {
    kTopRowFirst = 0,    ///< As all bitmaps of the host have them.
    kBottomRowFirst = 1  ///< Upside down.
  };

  virtual ~GABuffer() = default;

  /// Makes or remakes surface and context, `width` by `height` pixels (1 to 32767, and off screen
  /// at most platform::MaxPbufferSize), with a depth buffer when bit 0 of `options` is set
  /// (ReallocateOption); other bits have no meaning. Fog is off afterwards and the render state is
  /// that of SetRenderState. ComputeProjectionMatrices has to follow. kKeepContext keeps a context
  /// that it has, with its state, and fits it to the window.
  ///
  /// What the buffer remembers of materials and lights, and its display list of texturing and open
  /// blocks, stays also when the context is new, and is wrong then: what equals it is not sent. So
  /// a host makes a new buffer and a new list for each size, or uses kKeepContext.
  ///
  /// 0 in mode kOffScreen alone, when the GL has no such surface; then there is a context without
  /// one, and it may be tried again. Other modes answer 1 also when there is no context.
  virtual int Reallocate(int width, int height, int options) = 0;
  /// A surface for effects, `width` by `height` pixels: on-screen, with depth, nothing but the
  /// viewport set up. An earlier context is not released. For the module's own effects. Always 1.
  virtual int AllocateforShader(int width, int height) = 0;
  /// What Clear fills with, in steps of 1/255, without alpha; an empty handle is black, and so it
  /// begins. Read-back makes everything within 0.01 of it transparent, surfaces of that colour too.
  /// `color` is read now; one that was set before there was a driver is empty. Makes no context
  /// current. Always 1.
  virtual int SetBackground(const GAColor& color) = 0;
  /// Releases surface, context and queue; Reallocate makes new ones. Always 1, also when there is
  /// nothing to release.
  virtual int Destroy() = 0;
  /// Fills with the background, alpha 1, and the depth buffer with 1. Always 1.
  virtual int Clear() = 0;
  /// Keeps a copy of a bitmap's 32-bit pixels, which follow the header; nothing is drawn.
  /// biSizeImage is trusted as their length, and what exceeds the picture of the view is left out.
  /// 0 without bitmap or memory. Makes no context current.
  virtual int Blit(tagBITMAPINFO* info) = 0;
  /// A picture over the scene: `rect` in pixels, turned upright when its edges are exchanged, at
  /// view depth `z`, tested against the scene's depths (at nearZ it is over everything). The
  /// texture's part from (0, 0), its top left, to `extent` is shown, times `alpha`, 0 to 1: extent
  /// (1, 1) is all of it. Drawn in the projection that is loaded, which must be the scene's (in the
  /// screen's nothing is seen, or it is seen elsewhere), and with the lighting and fog that are in
  /// force. Always 1, also when nothing is drawn: rectangle outside the view, texture null or
  /// empty, or z not between nearZ and farZ (0, for one). A `z` on one of those planes is moved
  /// 0.005 inwards. Under perspective, nearer than -0.99 pixels are taken for view units. Texturing
  /// is off in the GL afterwards, whatever the display list thinks:
  /// DisplayList::SetTexture(nullptr) before its next texture.
  virtual int TransparentBlit(GATexture* /*texture*/, CRect /*rect*/, float /*z*/,
                              const Vector2& /*extent*/, float /*alpha*/) {
    return 0;
  }
  /// Shows the frame on the screen; what comes next begins with undefined pixels. The arguments are
  /// not used: an on-screen buffer knows its window. Always 1.
  virtual int BlitToFront(CWnd* window, unsigned short x, unsigned short y) = 0;
  /// 0: frames are shown whole, by BlitToFront.
  virtual int RepaintFront(CRect, CWnd*, unsigned short, unsigned short) { return 0; }
  /// Reads the lower left part of the frame that `node` has the size of into a new buffer of it,
  /// "ColorAlpha", half floats as blue, green, red, alpha, the top row first unless `bottomUp`
  /// (RowOrder). Alpha is keyed: 0 where every channel is within 0.01 of the background, inclusive,
  /// whether or not something of that colour was drawn there, else 1; colours stay as they are. A
  /// buffer of that name stays beside the new one (HBitmapNode::RemoveBuffers). Pixels beyond the
  /// surface are black. Batches that were not flushed are not in the frame. 0 without node or
  /// memory; 1 and no buffer when the node has no pixels.
  virtual int FillBitmapNode(HBitmapNode* node, int bottomUp) = 0;
  /// Fills a rectangle of pixels, cut to the view's pixel rectangle, over everything that is there,
  /// blended by the colour's alpha. `z`: as in TransparentBlit, in the screen's projection. The
  /// scene's projection is loaded afterwards, also for what still waits in the list's batches:
  /// DisplayList::ExecuteInstructions before. Always 1.
  virtual int AfxFillRect(int x, int y, int width, int height, float z, GAColor& color) = 0;
  /// Writes a text, a byte a glyph in Latin-1 (UTF-8 is not read as such), from (x + 1, y + 11) on,
  /// in pixels, which is the left end of its base line: (x, y) is about the top left of its first
  /// line. Glyphs are ten pixels high; there is one line, and a line end has no meaning. Over
  /// everything that is there, in `color` with its alpha, or, with a texture or lighting on, in
  /// what those make of it. Nothing is written when the base line's left end is outside the view,
  /// however much of the text would be inside. The last argument is not used: 0.
  ///
  /// Glyphs are made with contexts of on-screen modes, and shared by all buffers of the driver: off
  /// screen nothing is written before some buffer of mode kOnScreen or kKeepContext had a
  /// Reallocate, which may be deleted again (hostkit::MakeGlyphs). Where there is no font, nothing
  /// is written. How wide a text is cannot be asked. The scene's projection is loaded afterwards,
  /// as by AfxFillRect. Always 1; a null text writes nothing.
  virtual int TextOutA(int x, int y, const char* text, const GAColor& color, int) = 0;
  /// Depth in window coordinates, 0 (near plane) to 1 (far plane, or nothing), at a pixel counted
  /// from the lower left, unlike all others: y is height - 1 - y from the top. -100000000 where
  /// nothing can be read: outside, or without depth buffer or surface. Batches that were not
  /// flushed and what is transparent and waits are not there yet.
  virtual float GetZValue(int x, int y) = 0;
  /// The state that a surface starts with: no lighting, no texture, no culling, depth test as
  /// Reallocate was asked, blending by alpha, filled or wire polygons and smoothing by the
  /// settings. 1.
  virtual int SetRenderState() { return 1; }
  /// 1: nothing to copy, all buffers share their objects.
  virtual int CopyObjects(GABuffer* source, int) = 0;
  /// Begins a scene, for which nothing has to be done.
  virtual void BeginScene() {}
  /// Draws the transparent triangles and lines that wait, the farthest first, and empties the
  /// queue.
  virtual void EndScene() {}
  /// Computes the screen's and the scene's projection from the view's record; the scene's is loaded
  /// afterwards. After every Reallocate, which leaves a new context without one, and every change
  /// of the view. Before the first call both are zero: what is drawn with them cannot be seen.
  virtual void ComputeProjectionMatrices() {}
  /// Loads a projection that was computed (Projection): 0 the screen's, in pixels with y downwards;
  /// else the scene's, in view space. In both, z is that of view space. In the screen's, depth
  /// grows evenly from nearZ to farZ; in the scene's it does so in parallel views alone. Under
  /// perspective the depths of the two do not compare: what is drawn in pixels over a scene has a z
  /// a little behind nearZ, or no depth test (DisplayList::kDepthTestOff).
  virtual void SetProjection(int /*scene*/) {}
  /// 1 or 0. Also a way to make the context current that changes nothing.
  virtual int IsFogEnabled() { return 0; }
  /// Fog on (other than 0) or off. It has the scene record's colour and, at density 1, grows in a
  /// straight line from its fogStart to its fogEnd, cut to whole view units (an end that is not
  /// behind the start then turns it round: what is near lies in fog, what is far does not); at any
  /// other density exponentially: at distance d, exp(-density * d) of a thing's own colour remains.
  /// Without a scene record it is black. The record is read now, and so is the density that was set
  /// last.
  virtual void SetFogState(int /*on*/) {}
  /// The fog colour of whatever context is current, with its alpha, which is 1, in blue's place:
  /// the blue that was set cannot be asked for.
  virtual RGBFloat GetFogColor() { return {}; }
  /// Sets it in whatever context is current; SetFogState replaces it.
  virtual void SetFogColor(RGBFloat /*color*/) {}
  /// Density of fog per view unit; exactly 1, as at first, means linear fog. Takes effect at the
  /// next SetFogState. Calls no GL.
  virtual void SetFogDensity(float /*density*/) {}
};
