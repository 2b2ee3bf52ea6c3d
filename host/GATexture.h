// The host's abstract texture.
#pragma once

#include "host/Heaps.h"

class HBitmapNode;

/// A picture that surfaces are drawn with. All makers return 1 for success and 0 for failure.
class GATexture : public GAssistObject {
 public:
  virtual ~GATexture() = default;
  virtual int MakeGATexture(unsigned char* planes) = 0;
  virtual int MakeGATextureForShader(HBitmapNode* bitmap) = 0;
  virtual int MakeGATexture(HBitmapNode* bitmap, int wrap, int, int) = 0;
  virtual void FreeGATexture() = 0;
};
