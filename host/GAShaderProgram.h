// The host's abstract image post-processor.
#pragma once

#include "host/Heaps.h"

class HBitmapNode;

/// Effects on finished frames, chosen by number: 0 blur, 1 image filter, 2 ambient occlusion.
class GAShaderProgram : public GAssistObject {
 public:
  virtual ~GAShaderProgram() = default;
  virtual int IsOperational() = 0;
  virtual int Init(int effect, float* parameters, int count) = 0;
  virtual int Process(int effect, HBitmapNode* source, HBitmapNode* destination, float value) = 0;
};
