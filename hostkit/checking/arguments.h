// Looks at arguments by their type: numbers that are none, arrays that are missing, indices that
// lead nowhere.
#pragma once

#include <cmath>
#include <cstddef>
#include <type_traits>

#include "host/Vertices.h"
#include "host/VornPoly.h"
#include "hostkit/checking/visit.h"

namespace hostkit::checking {

/// Notes a number or a position that is not finite.
void LookAtFloat(Visit& visit, float number);
void LookAtVector(Visit& visit, const Vector& vector);
void LookAtPolygon(Visit& visit, const VornPoly& polygon);

/// Nothing is asked of other types here.
template <class Argument>
void LookAt(Visit& visit, const Argument& argument) {
  if constexpr (std::is_same_v<Argument, float>) {
    LookAtFloat(visit, argument);
  } else if constexpr (std::is_same_v<Argument, Vector>) {
    LookAtVector(visit, argument);
  } else if constexpr (std::is_same_v<Argument, VornPoly>) {
    LookAtPolygon(visit, argument);
  }
}

/// Whether an array can be read: notes one that is null though there is something to read.
bool IsArray(Visit& visit, const char* what, const void* array, long long count);

/// Whether a record's position is finite.
template <class Record>
bool IsFinite(const Record& record) {
  return std::isfinite(record.x) && std::isfinite(record.y) && std::isfinite(record.z);
}

/// Notes that the position, or the normal, of record `index` of an array is not finite.
void NoteRecord(Visit& visit, std::size_t index, float x, float y, float z);
void NoteNormal(Visit& visit, std::size_t index, const Vector& normal);

/// Notes the first of `count` records whose position or normal is not finite, and an array that is
/// not there. Whether there is one.
template <class Record>
bool LookAtArray(Visit& visit, const Record* records, long long count) {
  if (!IsArray(visit, "the array of vertices", records, count)) return false;
  for (long long i = 0; i < count; ++i) {
    const Record& record = records[i];
    if (!IsFinite(record)) {
      NoteRecord(visit, static_cast<std::size_t>(i), record.x, record.y, record.z);
      break;
    }
    if constexpr (std::is_same_v<Record, GAVertex>) {
      const Vector normal = {record.nx, record.ny, record.nz};
      if (IsFinite(normal)) continue;
      NoteNormal(visit, static_cast<std::size_t>(i), normal);
      break;
    }
  }
  return true;
}

/// Notes the first index that leads beyond `vertexCount` vertices.
void NoteIndex(Visit& visit, std::size_t place, std::size_t index, std::size_t vertexCount);
template <class Index>
void LookAtIndices(Visit& visit, const Index* indices, std::size_t count, std::size_t vertexCount) {
  if (!IsArray(visit, "the array of indices", indices, static_cast<long long>(count))) return;
  for (std::size_t i = 0; i < count; ++i) {
    if (indices[i] < vertexCount) continue;
    NoteIndex(visit, i, indices[i], vertexCount);
    break;
  }
}

}  // namespace hostkit::checking
