// The host's abstract frame buffer.
#pragma once

#include "host/Colors.h"
#include "host/Heaps.h"
#include "host/Vectors.h"
#include "platform/mfc.h"
#include "platform/win32.h"

class GATexture;
class HBitmapNode;

/// A drawing surface with its own view and its own GL context. The order of the operations is the
/// binary interface between host and module. Operations return 1 for success and 0 for failure
/// unless said otherwise. Pixel coordinates have their origin at the top left but for GetZValue.
///
/// A frame: Reallocate and ComputeProjectionMatrices once a size, then Clear, SetProjection(1),
/// fog, what display lists draw, EndScene, and FillBitmapNode or BlitToFront. Whatever draws or
/// reads makes the context current; the exceptions are said. Before Reallocate succeeded there is
/// no context, and operations do nothing that can be seen.
class GABuffer : public GAssistObject {
 public:
  virtual ~GABuffer() = default;

  /// Makes or remakes surface and context, `width` by `height` pixels, with a depth buffer when bit
  /// 0 of `options` is set; other bits have no meaning. Fog is off afterwards and the render state
  /// is that of SetRenderState. ComputeProjectionMatrices has to follow. Mode 2 keeps a context
  /// that it has, with its state, and fits it to the window. What the buffer remembers of materials
  /// and lights stays also when the context is new: set others first, or use mode 2. 0 in mode 1
  /// alone, when the GL has no such surface; then there is a context without one, and it may be
  /// tried again.
  virtual int Reallocate(int width, int height, int options) = 0;
  /// A surface for effects: on-screen, with depth, nothing but the viewport set up. An earlier
  /// context is not released. For the module's own effects. Always 1.
  virtual int AllocateforShader(int width, int height) = 0;
  /// What Clear fills with, in steps of 1/255, without alpha; an empty handle is black. Read-back
  /// makes everything within 0.01 of it transparent. Makes no context current. Always 1.
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
  /// view depth `z`, tested against the scene's depths. The texture's part from (0, 0), its top
  /// left, to `extent` is shown, times `alpha`, 0 to 1. Drawn in the projection that is loaded,
  /// which must be the scene's. Always 1, also when nothing is drawn: rectangle outside the view,
  /// texture null or empty, or z not between nearZ and farZ (0, for one). A `z` on one of those
  /// planes is moved 0.005 inwards. Under perspective, nearer than -0.99 pixels are taken for view
  /// units.
  virtual int TransparentBlit(GATexture*, CRect, float /*z*/, const Vector2& /*extent*/,
                              float /*alpha*/) {
    return 0;
  }
  /// Shows the frame on the screen; what comes next begins with undefined pixels. The arguments are
  /// not used: an on-screen buffer knows its window. Always 1.
  virtual int BlitToFront(CWnd* window, unsigned short x, unsigned short y) = 0;
  /// 0: frames are shown whole, by BlitToFront.
  virtual int RepaintFront(CRect, CWnd*, unsigned short, unsigned short) { return 0; }
  /// Reads the lower left part of the frame that `node` has the size of into a new buffer of it,
  /// "ColorAlpha", half floats as blue, green, red, alpha, the top row first unless `bottomUp`.
  /// Alpha is 0 where every channel is within 0.01 of the background, inclusive, else 1. A buffer
  /// of that name stays beside the new one. 0 without memory; 1 and no buffer when the node has no
  /// pixels.
  virtual int FillBitmapNode(HBitmapNode* node, int bottomUp) = 0;
  /// Fills a rectangle of pixels, cut to the view's pixel rectangle, over everything that is there.
  /// `z`: as in TransparentBlit, in the screen's projection. The scene's projection is loaded
  /// afterwards. Always 1.
  virtual int AfxFillRect(int x, int y, int width, int height, float z, GAColor& color) = 0;
  /// Writes a text, a byte a glyph in Latin-1, from (x + 1, y + 11) on, which is the left end of
  /// its base line; over everything that is there. Nothing is written when that point is outside
  /// the view. The last argument is not used. Glyphs are made with contexts of on-screen modes, and
  /// shared: off screen nothing is written before some buffer of mode 0 or 2 had a Reallocate. The
  /// scene's projection is loaded afterwards. Always 1; a null text writes nothing.
  virtual int TextOutA(int x, int y, const char* text, const GAColor& color, int) = 0;
  /// Depth in window coordinates, 0 to 1, at a pixel counted from the lower left; -100000000 where
  /// nothing can be read: outside, or without depth buffer or surface.
  virtual float GetZValue(int x, int y) = 0;
  /// The state that a surface starts with: no lighting, no texture, no culling, depth test as
  /// Reallocate was asked, blending by alpha, filled or wire polygons and smoothing by the
  /// settings.
  virtual int SetRenderState() { return 1; }
  /// 1: nothing to copy, all buffers share their objects.
  virtual int CopyObjects(GABuffer* source, int) = 0;
  /// Begins a scene, for which nothing has to be done.
  virtual void BeginScene() {}
  /// Draws the transparent triangles and lines that wait, the farthest first, and empties the
  /// queue.
  virtual void EndScene() {}
  /// Computes the screen's and the scene's projection from the view's record; the scene's is loaded
  /// afterwards. After every Reallocate and every change of the view.
  virtual void ComputeProjectionMatrices() {}
  /// Loads a projection that was computed: 0 the screen's, in pixels with y downwards; else the
  /// scene's, in view space.
  virtual void SetProjection(int /*scene*/) {}
  /// 1 or 0. Also a way to make the context current that changes nothing.
  virtual int IsFogEnabled() { return 0; }
  /// Fog with the scene record's colour and, at density 1, from its fogStart to its fogEnd, cut to
  /// whole view units; at any other density it grows exponentially with it. Without a scene record
  /// it is black.
  virtual void SetFogState(int /*on*/) {}
  /// The fog colour of whatever context is current, with its alpha, which is 1, in blue's place.
  virtual RGBFloat GetFogColor() { return {}; }
  /// Sets it in whatever context is current; SetFogState replaces it.
  virtual void SetFogColor(RGBFloat) {}
  /// Takes effect at the next SetFogState: 1 means linear fog. Per view unit. Calls no GL.
  virtual void SetFogDensity(float) {}
};
