// Vertices and indices that are gathered for one indexed draw.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <vector>

/// Indices are absolute positions in the vertex array. Emptying keeps the capacity, so that from
/// the second frame on nothing is allocated.
template <class V>
struct VertexBatch {
  std::vector<V> vertices;
  std::vector<std::uint32_t> indices;

  void Clear() {
    vertices.clear();
    indices.clear();
  }
  /// Appends indices relative to `base`.
  void AddIndices(std::uint32_t base, std::initializer_list<std::uint32_t> offsets) {
    for (const std::uint32_t offset : offsets) indices.push_back(base + offset);
  }
};
