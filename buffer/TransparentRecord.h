// Records of the transparent-polygon queue.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/Vertices.h"

class GL3GATexture;
struct AttrProperty;
struct LightListNode;

/// One transparent triangle or line, copied whole when sorted. A line uses `a` and `b` alone, with
/// u as transparency and v as width in pixels.
struct TransparentRecord {
  GAVertex a, b, c;
  GL3GATexture* texture;
  AttrProperty* attribute;  // a record without material is not drawn
  LightListNode* lights;
  float depthKey;  // minus the mean of the vertices' z: larger is farther
  std::int32_t isLine;
};
static_assert(sizeof(TransparentRecord) == 128 && offsetof(TransparentRecord, b) == 32 &&
              offsetof(TransparentRecord, c) == 64 && offsetof(TransparentRecord, texture) == 96 &&
              offsetof(TransparentRecord, attribute) == 104 &&
              offsetof(TransparentRecord, lights) == 112 &&
              offsetof(TransparentRecord, depthKey) == 120);
