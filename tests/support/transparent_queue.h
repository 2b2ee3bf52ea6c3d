// What waits in a buffer's queue of transparent polygons.
#pragma once

#include "buffer/GL3Buffer.h"

/// Opens the queue of any buffer. Nothing is made of this class itself.
class TransparentQueue : public GL3GABuffer {
 public:
  static int Count(const GL3GABuffer& buffer) {
    return buffer.*(&TransparentQueue::m_transparentCount);
  }
  /// Null without a queue. Valid until it is drawn.
  static const TransparentRecord* Records(const GL3GABuffer& buffer) {
    return buffer.*(&TransparentQueue::m_transparentPolys);
  }
};
