// Checks of the arrays that are handed to display lists.
#include <fmt/format.h>

#include <algorithm>
#include <initializer_list>

#include "host/RenderInfo.h"
#include "hostkit/checking/list_checks.h"

namespace hostkit::checking {
namespace {

void CheckCount(Visit& visit, const char* what, unsigned long long count, unsigned step,
                unsigned least) {
  if (count % step == 0 && count >= least) return;
  visit.Note(Kind::kIndexCount, fmt::format("{} indices, for {}", count, what));
}

constexpr int kCorners = 4;  // of a quad

/// In the screen's projection, notes what lies as a whole at depths where nothing is seen. In the
/// scene's that is common: things are behind the viewer.
void CheckFlatDepths(Visit& visit, const DisplayList& self, std::initializer_list<float> depths) {
  const ListState* list = visit.State().Find(&self);
  const BufferState* buffer = list ? visit.State().BufferOf(*list) : nullptr;
  if (!buffer || !buffer->isProjected || buffer->projection != 0) return;
  const RenderInfo& info = *list->info;
  const auto isSeen = [&](float z) { return z <= info.nearZ && z >= info.farZ; };
  if (std::none_of(depths.begin(), depths.end(), isSeen)) {
    CheckListDepth(visit, self, *depths.begin());
  }
}

}  // namespace

void BeforeLine(Visit& visit, DisplayList& self, const Vector& a, const Vector& b) {
  CheckFlatDepths(visit, self, {a.z, b.z});
}

void BeforeColoredLine(Visit& visit, DisplayList& self, const Vector& a, const Vector& b,
                       const GAColor&) {
  CheckFlatDepths(visit, self, {a.z, b.z});
}

void BeforePolygon(Visit& visit, DisplayList& self, const VornPoly& polygon, int) {
  CheckFlatDepths(visit, self, {polygon.p0.z, polygon.p1.z, polygon.p2.z});
}

void BeforePoints(Visit& visit, DisplayList&, const Vector* points, int count) {
  LookAtArray(visit, points, count);
}

void BeforeSegments(Visit& visit, DisplayList&, const Vector* a, const Vector* b, int count,
                    const GAColor&, const GAColor&) {
  LookAtArray(visit, a, count);
  LookAtArray(visit, b, count);
}

/// The first point is read whatever the count.
void BeforeShadedLines(Visit& visit, DisplayList&, const GAShadedLineVertex* points, int count,
                       int) {
  if (!IsArray(visit, "the array of points", points, std::max(count, 1))) return;
  for (int i = 0; i < count; ++i) {
    const Vector& place = points[i].position;
    if (IsFinite(place)) continue;
    NoteRecord(visit, static_cast<std::size_t>(i), place.x, place.y, place.z);
    return;
  }
}

void BeforeIndexedLines(Visit& visit, DisplayList&, const std::vector<GALitVertex>& vertices,
                        const std::vector<unsigned int>& indices) {
  CheckCount(visit, "lines of two", indices.size(), 2, 0);
  LookAtArray(visit, vertices.data(), static_cast<long long>(vertices.size()));
  LookAtIndices(visit, indices.data(), indices.size(), vertices.size());
}

void BeforePolygons(Visit& visit, DisplayList&, const VornPoly* polygons, int count, int) {
  if (!IsArray(visit, "the array of polygons", polygons, count)) return;
  for (int i = 0; i < count; ++i) LookAtPolygon(visit, polygons[i]);
}

void BeforeColoredQuad(Visit& visit, DisplayList&, const GAVertex* vertices, const RGBFloat* colors,
                       int) {
  LookAtArray(visit, vertices, kCorners);
  IsArray(visit, "the array of colours", colors, kCorners);
}

void BeforeLitQuad(Visit& visit, DisplayList&, const GALitVertex* vertices) {
  LookAtArray(visit, vertices, kCorners);
}

void BeforeFan(Visit& visit, DisplayList& self, const GAVertex* vertices, unsigned long vertexCount,
               const unsigned short* indices, unsigned long indexCount, int) {
  constexpr unsigned long kLongFan = 100;
  const ListState* list = visit.State().Find(&self);
  if (list && list->isBlockOpen && indexCount < kLongFan) {
    visit.Note(Kind::kBlockOpen, "a block is open, in which a short fan cannot be drawn");
  }
  CheckCount(visit, "a fan", indexCount, 1, 3);
  LookAtArray(visit, vertices, static_cast<long long>(vertexCount));
  LookAtIndices(visit, indices, indexCount, vertexCount);
}

void BeforeLitTriangles(Visit& visit, DisplayList&, const GALitVertex* vertices,
                        unsigned long vertexCount, const unsigned short* indices,
                        unsigned long indexCount, int) {
  CheckCount(visit, "triangles of three", indexCount, 3, 0);
  LookAtArray(visit, vertices, static_cast<long long>(vertexCount));
  LookAtIndices(visit, indices, indexCount, vertexCount);
}

void BeforeTexturedTriangles(Visit& visit, DisplayList&, const GALitVertexWT* vertices,
                             unsigned long vertexCount, const unsigned short* indices,
                             unsigned long indexCount, int) {
  visit.Note(Kind::kNothingDone,
             "texture coordinates are taken for positions, at z = 0, where nothing is seen");
  LookAtArray(visit, vertices, static_cast<long long>(vertexCount));
  LookAtIndices(visit, indices, indexCount, vertexCount);
}

}  // namespace hostkit::checking
