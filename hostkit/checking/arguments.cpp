// What is noted about arguments.
#include "hostkit/checking/arguments.h"

#include <fmt/format.h>

namespace hostkit::checking {

void LookAtFloat(Visit& visit, float number) {
  if (!std::isfinite(number)) visit.Note(Kind::kNotANumber, fmt::format("a number is {}", number));
}

void LookAtVector(Visit& visit, const Vector& vector) {
  if (IsFinite(vector)) return;
  visit.Note(Kind::kNotANumber,
             fmt::format("a position is ({}, {}, {})", vector.x, vector.y, vector.z));
}

void LookAtPolygon(Visit& visit, const VornPoly& polygon) {
  const Vector corners[] = {polygon.p0, polygon.p1, polygon.p2};
  LookAtArray(visit, corners, 3);
}

bool IsArray(Visit& visit, const char* what, const void* array, long long count) {
  if (array || count <= 0) return array != nullptr;
  visit.Note(Kind::kNull, fmt::format("{} is null, for a count of {}", what, count));
  return false;
}

void NoteRecord(Visit& visit, std::size_t index, float x, float y, float z) {
  visit.Note(Kind::kNotANumber, fmt::format("vertex {} is at ({}, {}, {})", index, x, y, z));
}

void NoteNormal(Visit& visit, std::size_t index, const Vector& normal) {
  visit.Note(Kind::kNotANumber, fmt::format("the normal of vertex {} is ({}, {}, {})", index,
                                            normal.x, normal.y, normal.z));
}

void NoteIndex(Visit& visit, std::size_t place, std::size_t index, std::size_t vertexCount) {
  visit.Note(Kind::kIndexBeyond,
             fmt::format("index {} is {}, of {} vertices", place, index, vertexCount));
}

}  // namespace hostkit::checking
