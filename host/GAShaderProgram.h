// The host's abstract image post-processor.
#pragma once

#include "host/Heaps.h"

class HBitmapNode;

/// Effects on finished frames, chosen by number: 0 blur, 1 image filter, 2 ambient occlusion.
/// Operations return 1 for success and 0 for failure, whose reason goes to the log "GPUShader.log"
/// beside the program that runs. They change the current context. The surface that a set-up
/// of an effect makes stays for good, also when the program is gone: set an effect up once a size.
class GAShaderProgram : public GAssistObject {
 public:
  virtual ~GAShaderProgram() = default;
  /// 1; whether one effect can run, its Init tells.
  virtual int IsOperational() = 0;
  /// Sets an effect up with its parameters; one that fails is gone for the life of the program.
  /// Blur: merge mode, passes, radius in pixels, width and height of the pictures in pixels;
  /// filter: merge mode, passes, filter number, width and height. Occlusion is switched off: it
  /// always fails.
  virtual int Init(int effect, float* parameters, int count) = 0;
  /// Runs an effect on the picture of `source`, which should have the size of Init and sides that
  /// are multiples of four. Merge mode 0 adds the result to `destination` as a new "ColorAlpha"
  /// buffer, any other writes it over the first buffer of `source` where that holds half-float
  /// colours with alpha.
  virtual int Process(int effect, HBitmapNode* source, HBitmapNode* destination, float value) = 0;
};
