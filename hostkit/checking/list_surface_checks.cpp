// Checks of lit surfaces: which way their corners run, and where their normals point.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

#include "host/RenderInfo.h"
#include "hostkit/checking/list_checks.h"
#include "platform/platform.h"

namespace hostkit::checking {
namespace {

float Dot(const Vector& a, const Vector& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vector Place(const GAVertex& vertex) {
  return {vertex.x, vertex.y, vertex.z};
}

Vector Normal(const GAVertex& vertex) {
  return {vertex.nx, vertex.ny, vertex.nz};
}

/// Towards the side from which the corners run counter-clockwise, of any length.
Vector SideOf(const Vector& a, const Vector& b, const Vector& c) {
  const Vector u = {b.x - a.x, b.y - a.y, b.z - a.z}, v = {c.x - a.x, c.y - a.y, c.z - a.z};
  return {u.y * v.z - u.z * v.y, u.z * v.x - u.x * v.z, u.x * v.y - u.y * v.x};
}

/// The far faces of a closed body run the other way than its near ones, and nobody sees them. On
/// the screen both cover the same area, so that by area divided by distance the near ones have
/// more.
void CountSide(SurfaceCounts& counts, const RenderInfo& info, const Vector& side,
               const std::array<GAVertex, 3>& corners, int triangles) {
  const auto isInDepth = [&](const GAVertex& v) { return v.z <= info.nearZ && v.z >= info.farZ; };
  if (!std::all_of(corners.begin(), corners.end(), isInDepth)) return;
  Vector middle;
  for (const GAVertex& v : corners) {
    middle.x += v.x / 3;
    middle.y += v.y / 3;
    middle.z += v.z / 3;
  }
  const double distance = info.perspective == 0 ? -middle.z : std::sqrt(Dot(middle, middle));
  if (!(distance > 0)) return;
  const double area = info.perspective == 0 ? side.z : -Dot(side, middle) / std::pow(distance, 3);
  (area > 0 ? counts.counterClockwise : counts.clockwise) += triangles * std::fabs(area) / distance;
}

/// Once llvmpipe has drawn triangles with smooth lines on, as EndScene does, it lights back faces
/// as if they were fronts until something of another kind is drawn. Fronts of the GL are clockwise.
void CheckSides(Visit& visit, const SurfaceCounts& counts) {
  if (!(counts.counterClockwise > counts.clockwise)) return;
  if (platform::CurrentRenderer().find("llvmpipe") == std::string::npos) return;
  visit.Note(Kind::kSidesUnlit,
             "after a scene with glass, llvmpipe may light surfaces whose corners run "
             "counter-clockwise, as most of what is seen here, from the wrong side, so that "
             "ambient light alone is left");
}

/// Models have some surfaces whose normals lie: it is the host's doing when most of them are
/// turned.
void CheckNormals(Visit& visit, const SurfaceCounts::Normals& normals, const char* which) {
  if (normals.turned * 2 <= normals.lit) return;
  visit.Note(Kind::kNormalsTurned,
             fmt::format("{} of {} lit surfaces that {} have normals that point to where the "
                         "corners run counter-clockwise: light falls on the side that is not seen",
                         normals.turned, normals.lit, which));
}

/// `checks`: what is transparent waits. `triangles`: how many such it has.
void CheckLitSurface(Visit& visit, const DisplayList& self, const std::array<GAVertex, 3>& corners,
                     bool checks, int triangles) {
  ListState* list = visit.State().Find(&self);
  const BufferState* buffer = list ? visit.State().BufferOf(*list) : nullptr;
  if (!buffer || list->switches[ListState::kLighting] != DisplayList::kLightingOn) return;
  const Vector side = SideOf(Place(corners[0]), Place(corners[1]), Place(corners[2]));
  const bool waits = checks && visit.State().IsTransparent(*list);
  SurfaceCounts::Normals& normals = waits ? list->surfaces.waiting : list->surfaces.drawn;
  ++normals.lit;
  const auto isNone = [](const GAVertex& v) { return Dot(Normal(v), Normal(v)) == 0; };
  const auto isTurned = [&](const GAVertex& v) { return Dot(Normal(v), side) > 0; };
  if (std::any_of(corners.begin(), corners.end(), isNone)) {
    visit.Note(Kind::kNoNormal, "a normal is (0, 0, 0), which no light falls on");
  } else if (std::all_of(corners.begin(), corners.end(), isTurned)) {
    ++normals.turned;
  } else if (buffer->drewGlass && !waits) {
    CountSide(list->surfaces, *list->info, side, corners, triangles);
  }
}

}  // namespace

void CheckSurfaces(Visit& visit, const ListState& list) {
  CheckNormals(visit, list.surfaces.drawn, "do not wait for EndScene");
  CheckNormals(visit, list.surfaces.waiting, "wait for EndScene");
  CheckSides(visit, list.surfaces);
}

/// Element 2 is not read.
void BeforeTriangle(Visit& visit, DisplayList& self, const GAVertex* vertices, int check) {
  constexpr long long kCorners = 4;
  if (!IsArray(visit, "the array of vertices", vertices, kCorners)) return;
  const std::array<GAVertex, 3> corners = {vertices[0], vertices[1], vertices[3]};
  LookAtArray(visit, corners.data(), std::ssize(corners));
  CheckLitSurface(visit, self, corners, check != 0, 1);
}

void BeforeQuad(Visit& visit, DisplayList& self, const GAVertex* vertices, int mode, int) {
  constexpr int kCorners = 4;
  const bool isPolyline = (mode & DisplayList::kQuadPolyline) != 0;
  const int count = isPolyline ? mode & DisplayList::kQuadCountMask : kCorners;
  // The first vertex has the width, whatever the count.
  if (!IsArray(visit, "the array of vertices", vertices, std::max(count, 1))) return;
  LookAtArray(visit, vertices, count);
  if (isPolyline) return;
  CheckLitSurface(visit, self, {vertices[0], vertices[1], vertices[2]},
                  mode != DisplayList::kQuadBatched && mode != DisplayList::kQuadDefaultColor, 2);
}

}  // namespace hostkit::checking
