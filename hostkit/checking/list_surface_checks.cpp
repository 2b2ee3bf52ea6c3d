// Checks of lit surfaces: which way their corners run, and where their normals point.
#include <fmt/format.h>

#include <algorithm>
#include <array>
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

/// Once llvmpipe has drawn triangles with smooth lines on, as EndScene does, it lights back faces
/// as if they were fronts until something of another kind is drawn. Fronts of the GL are clockwise.
void CheckSide(Visit& visit, const RenderInfo& info, const Vector& side, const Vector& corner) {
  const bool faces = info.perspective == 0 ? side.z > 0 : Dot(side, corner) < 0;
  if (!faces || platform::CurrentRenderer().find("llvmpipe") == std::string::npos) return;
  visit.Note(Kind::kSidesUnlit,
             "after a scene with glass, llvmpipe may light surfaces whose corners run "
             "counter-clockwise from the wrong side, so that ambient light alone is left");
}

/// `checks`: what is transparent waits.
void CheckSurface(Visit& visit, const DisplayList& self, const std::array<GAVertex, 3>& corners,
                  bool checks) {
  ListState* list = visit.State().Find(&self);
  const BufferState* buffer = list ? visit.State().BufferOf(*list) : nullptr;
  if (!buffer || list->switches[ListState::kLighting] != DisplayList::kLightingOn) return;
  const Vector side = SideOf(Place(corners[0]), Place(corners[1]), Place(corners[2]));
  ++list->litSurfaces;
  const auto isNone = [](const GAVertex& v) { return Dot(Normal(v), Normal(v)) == 0; };
  const auto isTurned = [&](const GAVertex& v) { return Dot(Normal(v), side) > 0; };
  if (std::any_of(corners.begin(), corners.end(), isNone)) {
    visit.Note(Kind::kNoNormal, "a normal is (0, 0, 0), which no light falls on");
  } else if (std::all_of(corners.begin(), corners.end(), isTurned)) {
    ++list->turnedSurfaces;
  } else if (buffer->drewGlass && !(checks && visit.State().IsTransparent(*list))) {
    CheckSide(visit, *list->info, side, Place(corners[0]));
  }
}

}  // namespace

/// Models have some surfaces whose normals lie: it is the host's doing when most of them are
/// turned.
void CheckNormals(Visit& visit, const ListState& list) {
  if (list.turnedSurfaces * 2 <= list.litSurfaces) return;
  visit.Note(Kind::kNormalsTurned,
             fmt::format("{} of {} lit surfaces have normals that point to where the corners run "
                         "counter-clockwise: light falls on the side that is not seen",
                         list.turnedSurfaces, list.litSurfaces));
}

/// Element 2 is not read.
void BeforeTriangle(Visit& visit, DisplayList& self, const GAVertex* vertices, int check) {
  constexpr long long kCorners = 4;
  if (!IsArray(visit, "the array of vertices", vertices, kCorners)) return;
  const std::array<GAVertex, 3> corners = {vertices[0], vertices[1], vertices[3]};
  LookAtArray(visit, corners.data(), std::ssize(corners));
  CheckSurface(visit, self, corners, check != 0);
}

void BeforeQuad(Visit& visit, DisplayList& self, const GAVertex* vertices, int mode, int) {
  constexpr int kCorners = 4;
  const bool isPolyline = (mode & DisplayList::kQuadPolyline) != 0;
  const int count = isPolyline ? mode & DisplayList::kQuadCountMask : kCorners;
  // The first vertex has the width, whatever the count.
  if (!IsArray(visit, "the array of vertices", vertices, std::max(count, 1))) return;
  LookAtArray(visit, vertices, count);
  if (isPolyline) return;
  CheckSurface(visit, self, {vertices[0], vertices[1], vertices[2]},
               mode != DisplayList::kQuadBatched && mode != DisplayList::kQuadDefaultColor);
}

}  // namespace hostkit::checking
