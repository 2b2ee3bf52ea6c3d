// Checks of the arrays that are handed to display lists.
#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "hostkit/checking/list_checks.h"

namespace hostkit::checking {
namespace {

void CheckCount(Visit& visit, const char* what, unsigned long long count, unsigned step,
                unsigned least) {
  if (count % step == 0 && count >= least) return;
  visit.Note(Kind::kIndexCount, fmt::format("{} indices, for {}", count, what));
}

constexpr int kCorners = 4;  // of a quad

}  // namespace

void BeforePoints(Visit& visit, DisplayList&, Vector* points, int count) {
  LookAtArray(visit, points, count);
}

void BeforeSegments(Visit& visit, DisplayList&, Vector* a, Vector* b, int count, const GAColor&,
                    const GAColor&) {
  LookAtArray(visit, a, count);
  LookAtArray(visit, b, count);
}

/// The first point is read whatever the count.
void BeforeShadedLines(Visit& visit, DisplayList&, GAShadedLineVertex* points, int count, int) {
  if (!IsArray(visit, "the array of points", points, std::max(count, 1))) return;
  for (int i = 0; i < count; ++i) {
    const Vector& place = points[i].position;
    if (IsFinite(place)) continue;
    NoteRecord(visit, static_cast<std::size_t>(i), place.x, place.y, place.z);
    return;
  }
}

void BeforeIndexedLines(Visit& visit, DisplayList&, std::vector<GALitVertex>& vertices,
                        std::vector<unsigned int>& indices) {
  CheckCount(visit, "lines of two", indices.size(), 2, 0);
  LookAtArray(visit, vertices.data(), static_cast<long long>(vertices.size()));
  LookAtIndices(visit, indices.data(), indices.size(), vertices.size());
}

void BeforePolygons(Visit& visit, DisplayList&, const VornPoly* polygons, int count, int) {
  if (!IsArray(visit, "the array of polygons", polygons, count)) return;
  for (int i = 0; i < count; ++i) LookAtPolygon(visit, polygons[i]);
}

void BeforeQuad(Visit& visit, DisplayList&, GAVertex* vertices, int mode, int) {
  const bool isPolyline = (mode & DisplayList::kQuadPolyline) != 0;
  const int count = isPolyline ? mode & DisplayList::kQuadCountMask : kCorners;
  // The first vertex has the width, whatever the count.
  if (!IsArray(visit, "the array of vertices", vertices, std::max(count, 1))) return;
  LookAtArray(visit, vertices, count);
}

void BeforeColoredQuad(Visit& visit, DisplayList&, GAVertex* vertices, RGBFloat* colors, int) {
  LookAtArray(visit, vertices, kCorners);
  IsArray(visit, "the array of colours", colors, kCorners);
}

void BeforeLitQuad(Visit& visit, DisplayList&, GALitVertex* vertices) {
  LookAtArray(visit, vertices, kCorners);
}

/// Element 2 is not read.
void BeforeTriangle(Visit& visit, DisplayList&, GAVertex* vertices, int) {
  if (!IsArray(visit, "the array of vertices", vertices, kCorners)) return;
  const Vector corners[] = {{vertices[0].x, vertices[0].y, vertices[0].z},
                            {vertices[1].x, vertices[1].y, vertices[1].z},
                            {vertices[3].x, vertices[3].y, vertices[3].z}};
  LookAtArray(visit, corners, std::size(corners));
}

void BeforeFan(Visit& visit, DisplayList& self, GAVertex* vertices, unsigned long vertexCount,
               unsigned short* indices, unsigned long indexCount, int) {
  constexpr unsigned long kLongFan = 100;
  const ListState* list = visit.State().Find(&self);
  if (list && list->isBlockOpen && indexCount < kLongFan) {
    visit.Note(Kind::kBlockOpen, "a block is open, in which a short fan cannot be drawn");
  }
  CheckCount(visit, "a fan", indexCount, 1, 3);
  LookAtArray(visit, vertices, static_cast<long long>(vertexCount));
  LookAtIndices(visit, indices, indexCount, vertexCount);
}

void BeforeLitTriangles(Visit& visit, DisplayList&, GALitVertex* vertices,
                        unsigned long vertexCount, unsigned short* indices,
                        unsigned long indexCount, int) {
  CheckCount(visit, "triangles of three", indexCount, 3, 0);
  LookAtArray(visit, vertices, static_cast<long long>(vertexCount));
  LookAtIndices(visit, indices, indexCount, vertexCount);
}

void BeforeTexturedTriangles(Visit& visit, DisplayList&, GALitVertexWT* vertices,
                             unsigned long vertexCount, unsigned short* indices,
                             unsigned long indexCount, int) {
  visit.Note(Kind::kNothingDone,
             "texture coordinates are taken for positions, at z = 0, where nothing is seen");
  LookAtArray(visit, vertices, static_cast<long long>(vertexCount));
  LookAtIndices(visit, indices, indexCount, vertexCount);
}

}  // namespace hostkit::checking
