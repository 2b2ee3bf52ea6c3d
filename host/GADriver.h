// The host's abstract driver: the module's front door.
#pragma once

#include "host/Colors.h"
#include "host/Heaps.h"
#include "host/Vectors.h"

class CPropertyPage;
class DisplayList;
class GABuffer;
class GAShaderProgram;
class GATexture;
struct RenderInfo;

/// Everything that a renderer can be asked for. The order of the operations is the binary
/// interface between host and module. Operations return 1 for success and 0 for failure; what the
/// factories make belongs to the host, which deletes it. Called on the host's drawing thread.
class GADriver : public GAssistObject {
 public:
  virtual ~GADriver() = default;

  virtual void SetDefaults() = 0;
  virtual int Initialize() = 0;
  virtual int Terminate() = 0;
  virtual int IsOperational() = 0;
  virtual GANativeColor* CreateColor() = 0;
  virtual GANativeColor* CreateColor(const ColorBuf& color) = 0;
  virtual GANativeColor* CreateColor(const RGBFloat& color) = 0;
  virtual GANativeColor* CreateColor(const Vector4& color) = 0;
  virtual GANativeColor* CreateColor(const GAColor& color) = 0;
  /// `mode`: 1 off-screen; 2 on-screen, context kept on resize; else on-screen, remade on resize.
  virtual GABuffer* CreateBuffer(RenderInfo* info, int mode, int compatibleDC) = 0;
  virtual GATexture* CreateTexture() = 0;
  virtual DisplayList* CreateDisplayList(RenderInfo* info) = 0;
  virtual GAShaderProgram* CreateShaderProgram(RenderInfo* info) = 0;
  /// The page comes from the general heap, unlike everything else.
  virtual CPropertyPage* CreatePropertyPage(int reduced) = 0;
  virtual int RestoreFrontSurface() { return 0; }
  virtual int SetFrontSurfacePalette() { return 0; }
  virtual const char* GLGetLastError() { return "Unknown"; }
  virtual int IsHardwareSupport() = 0;
  virtual const char* GetDriverInfo() { return ""; }
  virtual int IsSupportGPU() = 0;
};

/// The module's exported entry: a new driver, owned by the caller; null when memory runs out.
extern "C" GADriver* CreateDriver();
using CreateDriverFunction = GADriver* (*)();
