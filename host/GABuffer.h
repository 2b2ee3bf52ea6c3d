// The host's abstract frame buffer.
#pragma once

#include "host/Colors.h"
#include "host/Heaps.h"
#include "host/Vectors.h"
#include "platform/mfc.h"
#include "platform/win32.h"

class GATexture;
class HBitmapNode;

/// A drawing surface with its own view. The order of the operations is the binary interface
/// between host and module. Operations return 1 for success and 0 for failure unless said
/// otherwise. Pixel coordinates have their origin at the top left but for GetZValue.
class GABuffer : public GAssistObject {
 public:
  virtual ~GABuffer() = default;

  virtual int Reallocate(int width, int height, int options) = 0;
  virtual int AllocateforShader(int width, int height) = 0;
  virtual int SetBackground(const GAColor& color) = 0;
  virtual int Destroy() = 0;
  virtual int Clear() = 0;
  virtual int Blit(tagBITMAPINFO* info) = 0;
  virtual int TransparentBlit(GATexture*, CRect, float /*z*/, const Vector2& /*extent*/,
                              float /*alpha*/) {
    return 0;
  }
  virtual int BlitToFront(CWnd* window, unsigned short x, unsigned short y) = 0;
  virtual int RepaintFront(CRect, CWnd*, unsigned short, unsigned short) { return 0; }
  virtual int FillBitmapNode(HBitmapNode* node, int bottomUp) = 0;
  virtual int AfxFillRect(int x, int y, int width, int height, float z, GAColor& color) = 0;
  virtual int TextOutA(int x, int y, const char* text, const GAColor& color, int) = 0;
  /// Depth in window coordinates, 0 to 1, at a pixel counted from the lower left.
  virtual float GetZValue(int x, int y) = 0;
  virtual int SetRenderState() { return 1; }
  virtual int CopyObjects(GABuffer* source, int) = 0;
  virtual void BeginScene() {}
  virtual void EndScene() {}
  virtual void ComputeProjectionMatrices() {}
  virtual void SetProjection(int /*scene*/) {}
  virtual int IsFogEnabled() { return 0; }
  virtual void SetFogState(int /*on*/) {}
  virtual RGBFloat GetFogColor() { return {}; }
  virtual void SetFogColor(RGBFloat) {}
  virtual void SetFogDensity(float) {}
};
